#include "ui/wizard/InterfaceLoader.h"

#include "ui/views/KYBackgroundView.h"
#include "ui/views/KYDestinationView.h"
#include "ui/views/KYImageHelpView.h"
#include "ui/views/KYSourceView.h"
#include "ui/views/LogTextView.h"
#include "ui/wizard/BorderBox.h"
#include "ui/wizard/EvenProgressBar.h"
#include "ui/wizard/Label.h"
#include "ui/wizard/LabelledCheckBox.h"
#include "ui/wizard/RichTextView.h"
#include "ui/wizard/Spinner.h"
#include "ui/wizard/ToolbarItems.h"
#include "ui/wizard/WizardWindow.h"

#include <QFile>
#include <QFileInfo>

namespace kyb {
namespace {

struct WidgetKind {
    const char *className; ///< as the descriptions call it
    QWidget *(*make)(QWidget *parent);
};

template <class Widget> QWidget *make(QWidget *parent) {
    return new Widget(parent);
}

constexpr WidgetKind kWidgetKinds[] = {
    {"BorderBox", make<BorderBox>},
    {"EvenProgressBar", make<EvenProgressBar>},
    {"ImageView", make<ImageView>},
    {"KYBackgroundView", make<KYBackgroundView>},
    {"KYDestinationView", make<KYDestinationView>},
    {"KYImageHelpView", make<KYImageHelpView>},
    {"KYSourceView", make<KYSourceView>},
    {"Label", make<Label>},
    {"LabelledCheckBox", make<LabelledCheckBox>},
    {"LogTextView", make<LogTextView>},
    {"RichTextView", make<RichTextView>},
    {"Sheet", make<SheetDialog>},
    {"Spinner", make<Spinner>},
    {"WizardWindow", make<WizardWindow>},
};

} // namespace

QWidget *InterfaceLoader::loadFile(const QString &path, QWidget *parent, QString *problem) {
    const QString name = QFileInfo(path).fileName();
    const bool isSomethingElse = QFileInfo::exists(path) && !QFileInfo(path).isFile(); // who opens a FIFO waits
    QFile file(path);
    if (isSomethingElse || !file.open(QIODevice::ReadOnly)) {
        *problem = QStringLiteral("The interface description \"%1\" cannot be read: %2")
                       .arg(name, isSomethingElse ? QStringLiteral("Not a file") : file.errorString());
        return nullptr;
    }
    QWidget *loaded = load(&file, parent);
    if (loaded == nullptr) {
        *problem = QStringLiteral("The interface description \"%1\" is broken: %2").arg(name, errorString());
    }
    return loaded;
}

QWidget *InterfaceLoader::createWidget(const QString &className, QWidget *parent, const QString &name) {
    for (const WidgetKind &kind : kWidgetKinds) {
        if (className == QLatin1String(kind.className)) {
            QWidget *widget = kind.make(parent);
            widget->setObjectName(name);
            return widget;
        }
    }
    return QUiLoader::createWidget(className, parent, name);
}

QAction *InterfaceLoader::createAction(QObject *parent, const QString &name) {
    QAction *action = nullptr;
    if (name == QLatin1String("searchItem")) {
        action = new SearchItem(parent);
    } else if (name == QLatin1String("matchesItem")) {
        action = new MessageItem(parent);
    } else {
        return QUiLoader::createAction(parent, name);
    }
    action->setObjectName(name);
    return action;
}

} // namespace kyb
