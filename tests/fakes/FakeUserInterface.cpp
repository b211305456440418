#include "FakeUserInterface.h"

#include "FakeMachine.h"

namespace {

QString word(bool yes) {
    return yes ? QStringLiteral("yes") : QStringLiteral("no");
}

QString word(const QString &text) {
    return u'"' + text + u'"';
}

QString word(double number) {
    return QString::number(number);
}

QString word(const kyb::FontChoice &font) {
    return font.family + u' ' + word(font.sizePoints);
}

QString word(const kyb::NamedImage &image) {
    return image.name;
}

QString word(kyb::Color color) {
    switch (color) {
    case kyb::Color::Standard:
        return QStringLiteral("standard");
    case kyb::Color::Clear:
        return QStringLiteral("clear");
    case kyb::Color::Black:
        return QStringLiteral("black");
    case kyb::Color::Red:
        return QStringLiteral("red");
    }
    return {};
}

FakeControl &fake(kyb::Control &control) {
    return dynamic_cast<FakeControl &>(control);
}

} // namespace

void FakeControl::note(const QString &order) {
    journal_ << name + u' ' + order;
    FakeMachine::instance().tell(journal_.constLast());
}

template <class Value> void FakeControl::set(Value &remembered, const Value &value, const char *what) {
    remembered = value;
    note(QLatin1String(what) + u' ' + word(value));
}

void FakeControl::setEnabled(bool value) {
    set(enabled, value, "enabled");
}

void FakeControl::setHidden(bool value) {
    set(hidden, value, "hidden");
}

void FakeControl::setTransparent(bool value) {
    set(transparent, value, "transparent");
}

void FakeControl::addSubview(kyb::View &view) {
    fake(view).superview = this;
    note(QStringLiteral("add ") + fake(view).name);
}

void FakeControl::removeFromSuperview() {
    superview = nullptr;
    note(QStringLiteral("remove"));
}

void FakeControl::setText(const QString &value) {
    set(currentText, value, "text");
}

void FakeControl::setRichText(const kyb::RichTextDocument &document) {
    currentText = kyb::plainText(document);
    note(QStringLiteral("rich text"));
}

void FakeControl::setTextColor(kyb::Color value) {
    set(textColor, value, "text colour");
}

void FakeControl::setFont(const kyb::FontChoice &value) {
    set(currentFont, value, "font");
}

void FakeControl::setChecked(bool value) {
    set(checked, value, "checked");
}

void FakeControl::setImage(const kyb::NamedImage &value) {
    set(image, value, "image");
}

void FakeControl::setBorderColor(kyb::Color value) {
    set(borderColor, value, "border");
}

void FakeControl::setValue(double newValue) {
    values.push_back(newValue);
    set(currentValue, newValue, "value");
}

void FakeControl::makeKeyAndOrderFront() {
    hidden = false;
    note(QStringLiteral("front"));
}

void FakeControl::beginSheet(kyb::Sheet &sheet) {
    note(QStringLiteral("begin ") + fake(sheet).name);
}

void FakeControl::setCloseButtonEnabled(bool value) {
    set(closeButtonEnabled, value, "close widget");
}

std::optional<QString> FakeControl::runSavePanel() {
    note(QStringLiteral("save panel"));
    return savePanelAnswer;
}

void FakeControl::insertItem(kyb::MenuItem &item, int index) {
    note(QStringLiteral("insert %1 at %2").arg(fake(item).name).arg(index));
}

kyb::Control *FakeUserInterface::control(const QString &objectName) {
    return missing.contains(objectName) ? nullptr : &(*this)[objectName];
}

FakeControl &FakeUserInterface::operator[](const QString &objectName) {
    return controls_.try_emplace(objectName, objectName, journal).first->second;
}

QStringList FakeUserInterface::controlsWithActions() const {
    QStringList names;
    for (const auto &[name, control] : controls_) {
        if (control.hasAction()) {
            names << name;
        }
    }
    return names;
}
