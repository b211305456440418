#include "FakeInterface.h"

namespace {

QString word(bool yes) {
    return yes ? QStringLiteral("yes") : QStringLiteral("no");
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

} // namespace

void FakeControl::note(const QString &what) {
    journal_ << QStringLiteral("%1 %2").arg(name, what);
}

void FakeControl::setEnabled(bool newEnabled) {
    enabled = newEnabled;
    note(QStringLiteral("enabled %1").arg(word(enabled)));
}

void FakeControl::setHidden(bool hide) {
    hidden = hide;
    note(QStringLiteral("hidden %1").arg(word(hidden)));
}

void FakeControl::setTransparent(bool transparency) {
    transparent = transparency;
    note(QStringLiteral("transparent %1").arg(word(transparent)));
}

void FakeControl::displayNow() {
    note(QStringLiteral("display"));
}

void FakeControl::addSubview(kyb::Control &view) {
    auto &added = static_cast<FakeControl &>(view);
    added.superview = this;
    note(QStringLiteral("add %1").arg(added.name));
}

void FakeControl::removeFromSuperview() {
    superview = nullptr;
    note(QStringLiteral("remove"));
}

void FakeControl::setText(const QString &newText) {
    currentText = newText;
    note(QStringLiteral("text \"%1\"").arg(newText));
}

void FakeControl::setRichText(const kyb::RichTextDocument &document) {
    currentText = kyb::plainText(document);
    note(QStringLiteral("rich text"));
}

void FakeControl::setTextColor(kyb::Color newColor) {
    textColor = newColor;
    note(QStringLiteral("text colour %1").arg(word(newColor)));
}

void FakeControl::setFont(const kyb::FontChoice &newFont) {
    currentFont = newFont;
    note(QStringLiteral("font %1 %2").arg(newFont.family, QString::number(newFont.sizePoints)));
}

void FakeControl::sizeToFit() {
    note(QStringLiteral("fit"));
}

void FakeControl::setState(int newState) {
    currentState = newState;
    note(QStringLiteral("state %1").arg(newState));
}

void FakeControl::setImage(const kyb::NamedImage &newImage) {
    image = newImage;
    note(QStringLiteral("image %1").arg(newImage.name));
}

void FakeControl::setBorderColor(kyb::Color newColor) {
    borderColor = newColor;
    note(QStringLiteral("border %1").arg(word(newColor)));
}

void FakeControl::setValue(double newValue) {
    currentValue = newValue;
    values.push_back(newValue);
    note(QStringLiteral("value %1").arg(newValue));
}

void FakeControl::startAnimation() {
    note(QStringLiteral("animate"));
}

void FakeControl::stopAnimation() {
    note(QStringLiteral("stop animation"));
}

void FakeControl::makeKeyAndOrderFront() {
    hidden = false;
    note(QStringLiteral("front"));
}

void FakeControl::orderOut() {
    hidden = true;
    note(QStringLiteral("out"));
}

void FakeControl::beginSheet(kyb::Control &sheet) {
    note(QStringLiteral("begin %1").arg(static_cast<FakeControl &>(sheet).name));
}

void FakeControl::endSheet() {
    note(QStringLiteral("end sheet"));
}

void FakeControl::setCloseButtonEnabled(bool closeEnabled) {
    closeButtonEnabled = closeEnabled;
    note(QStringLiteral("close widget %1").arg(word(closeEnabled)));
}

std::optional<QString> FakeControl::runSavePanel() {
    note(QStringLiteral("save panel"));
    return savePanelAnswer;
}

void FakeControl::insertItem(kyb::Control &item, int index) {
    note(QStringLiteral("insert %1 at %2").arg(static_cast<FakeControl &>(item).name, QString::number(index)));
}

kyb::Control *FakeInterface::control(const QString &objectName) {
    return missing.contains(objectName) ? nullptr : &(*this)[objectName];
}

FakeControl &FakeInterface::operator[](const QString &objectName) {
    std::unique_ptr<FakeControl> &control = controls_[objectName];
    if (!control) {
        control = std::make_unique<FakeControl>(objectName, journal);
    }
    return *control;
}
