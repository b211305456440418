#include "ui/wizard/Wizard.h"

#include "controller/KYAppDelegate.h"
#include "text/localized_text.h"
#include "text/log_viewer_text.h"
#include "text/resources.h"
#include "text/string_table.h"
#include "ui/views/LogTextView.h"
#include "ui/views/WidgetControl.h"
#include "ui/views/image_loading.h"
#include "ui/wizard/Controls.h"
#include "ui/wizard/InterfaceLoader.h"
#include "ui/wizard/ToolbarItems.h"
#include "ui/wizard/WizardWindow.h"

#include <QAction>
#include <QGridLayout>
#include <QIcon>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>

namespace kyb {
namespace {

/// The name of the property in which an object gives the second name that it goes by.
constexpr char kAlsoKnownAs[] = "alsoKnownAs";

struct Screen {
    const char *fileName;
    enum class AtStart { InTheBox, Away } atStart;
};

constexpr Screen kScreens[] = {
    {"InstallationView.ui", Screen::AtStart::InTheBox},   {"LicenseView.ui", Screen::AtStart::Away},
    {"PublicOrPrivateView.ui", Screen::AtStart::Away},    {"InstallationProgressView.ui", Screen::AtStart::Away},
    {"InstallationResultView.ui", Screen::AtStart::Away},
};

constexpr const char *kSheets[] = {"QuitAppWarningSheet.ui", "WarningSheet.ui", "AppsBusyWarningSheet.ui"};

QString pathOf(const QString &folder, const char *fileName) {
    return folder + u'/' + QLatin1String(fileName);
}

QString lacks(const char *fileName, const char *objectName) {
    return QStringLiteral("The interface description \"%1\" lacks \"%2\".")
        .arg(QLatin1String(fileName), QLatin1String(objectName));
}

QObject *findIn(QObject *root, const QString &name) {
    if (root == nullptr || root->objectName() == name || root->property(kAlsoKnownAs).toString() == name) {
        return root;
    }
    return root->findChild<QObject *>(name);
}

/// The name of the property by which an action names its picture.
constexpr char kPicture[] = "picture";
constexpr QSize kPictureSize(16, 16); // points

void giveIcon(QAction &action) {
    const QString name = action.property(kPicture).toString();
    if (name.isEmpty()) {
        return;
    }
    QIcon icon;
    for (const int pixelRatio : {1, 2}) {
        icon.addPixmap(bundlePixmap(name, kPictureSize, pixelRatio));
    }
    action.setIcon(icon);
}

/// Shows and works as the action does, for those who do not look into menus.
void followAction(QAbstractButton &button, QAction &action) {
    const auto follow = [&button, &action] {
        button.setVisible(action.isVisible());
        button.setEnabled(action.isEnabled());
    };
    QSizePolicy policy = button.sizePolicy();
    policy.setRetainSizeWhenHidden(true); // what stands around it keeps still when it comes
    button.setSizePolicy(policy);
    QObject::connect(&action, &QAction::changed, &button, follow);
    QObject::connect(&button, &QAbstractButton::clicked, &action, &QAction::trigger);
    follow();
}

/// What is said beside the filter: how many lines it has left; nothing when it shows everything.
QString matchMessage(QStringView filter, QStringView shown) {
    const std::optional<qsizetype> matches = matchCount(filter, shown);
    if (!matches) {
        return {};
    }
    if (*matches == 0) {
        return localizedText(QStringLiteral("NoMatches"));
    }
    const QString format = localizedText(*matches == 1 ? QStringLiteral("OneMatch") : QStringLiteral("Matches"));
    return formatWithArguments(format, {QLocale().toString(*matches)});
}

} // namespace

Wizard::Wizard(int &argc, char **argv) : application_(argc, argv) {}

Wizard::~Wizard() {
    application_.setDelegate(nullptr);
}

QString Wizard::load(const QString &resourcesFolder, KYAppDelegate &delegate) {
    loadTexts();
    using Step = QString (Wizard::*)(const QString &folder);
    for (const Step step :
         {&Wizard::loadMainWindow, &Wizard::loadScreens, &Wizard::loadSheets, &Wizard::loadLogWindow}) {
        QString problem = (this->*step)(resourcesFolder);
        if (!problem.isEmpty()) {
            return problem;
        }
    }
    application_.setDelegate(&delegate);
    window_->setShouldClose([&delegate] { return delegate.windowShouldClose(); });
    giveIcons();
    wireAbout();
    wireLogButton();
    wireLogWindow();
    return {};
}

void Wizard::loadTexts() {
    interfaceTexts_.loadTable();
    const QString path = resourcePath(QStringLiteral("Toolkit.qm"));
    if (!path.isEmpty() && toolkitTexts_.load(path)) {
        QCoreApplication::installTranslator(&toolkitTexts_); // NB: after ours, so that it is asked before it
    }
}

QString Wizard::loadMainWindow(const QString &folder) {
    constexpr const char *fileName = "MainWindow.ui";
    QString problem;
    std::unique_ptr<QWidget> loaded(InterfaceLoader().loadFile(pathOf(folder, fileName), nullptr, &problem));
    if (qobject_cast<WizardWindow *>(loaded.get()) == nullptr) {
        return problem.isEmpty() ? lacks(fileName, "parentWindow") : problem;
    }
    window_.reset(static_cast<WizardWindow *>(loaded.release()));
    window_->setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                            Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
    window_->layout()->setSizeConstraint(QLayout::SetFixedSize);
    return {};
}

QString Wizard::loadScreens(const QString &folder) {
    auto *box = window_->findChild<QWidget *>(QStringLiteral("installationBox"));
    auto *stack = box != nullptr ? qobject_cast<QGridLayout *>(box->layout()) : nullptr;
    if (stack == nullptr) {
        return lacks("MainWindow.ui", "installationBox");
    }
    for (const Screen &screen : kScreens) {
        QString problem;
        QWidget *view = InterfaceLoader().loadFile(pathOf(folder, screen.fileName), box, &problem);
        if (view == nullptr) {
            return problem;
        }
        stack->addWidget(view, 0, 0);
        if (screen.atStart == Screen::AtStart::Away) {
            Outlet<View> away;
            away.connect(controlOf(*view));
            away->removeFromSuperview();
        } else {
            focusFirstControl(*view);
        }
    }
    return {};
}

QString Wizard::loadSheets(const QString &folder) {
    for (const char *fileName : kSheets) {
        QString problem;
        if (InterfaceLoader().loadFile(pathOf(folder, fileName), window_.get(), &problem) == nullptr) {
            return problem;
        }
    }
    return {};
}

QString Wizard::loadLogWindow(const QString &folder) {
    QString problem;
    logWindow_.reset(InterfaceLoader().loadFile(pathOf(folder, "LogWindow.ui"), nullptr, &problem));
    return problem;
}

void Wizard::giveIcons() {
    QApplication::setWindowIcon(bundlePixmap(QStringLiteral("AppIcon.icns"), QSize(64, 64), 2));
    for (QAction *action : logWindow_->findChildren<QAction *>()) {
        giveIcon(*action);
    }
}

void Wizard::wireAbout() {
    if (auto *item = qobject_cast<QAction *>(object(QStringLiteral("aboutMenuItem")))) {
        QObject::connect(item, &QAction::triggered, window_.get(), [this] { showAbout(); });
    }
}

void Wizard::showAbout() {
    auto *panel = new QMessageBox(window_.get());
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setIconPixmap(bundlePixmap(QStringLiteral("AppIcon.icns"), QSize(64, 64), panel->devicePixelRatioF()));
    panel->setText(QApplication::applicationName());
    panel->setInformativeText(
        QCoreApplication::translate("About", "Version %1").arg(QApplication::applicationVersion()));
    panel->open();
}

void Wizard::wireLogButton() {
    auto *button = qobject_cast<QAbstractButton *>(object(QStringLiteral("showLogButton")));
    auto *item = qobject_cast<QAction *>(object(QStringLiteral("showLogMenuItem")));
    if (button != nullptr && item != nullptr) {
        followAction(*button, *item);
    }
}

void Wizard::wireLogWindow() {
    if (auto *quit = qobject_cast<QAction *>(object(QStringLiteral("quitMenuItem")))) {
        logWindow_->addAction(quit); // its keys count here as well
    }
    auto *view = qobject_cast<LogTextView *>(object(QStringLiteral("logTextView")));
    auto *search = qobject_cast<SearchItem *>(object(QStringLiteral("searchItem")));
    auto *message = qobject_cast<MessageItem *>(object(QStringLiteral("matchesItem")));
    if (view != nullptr && search != nullptr && message != nullptr) {
        QObject::connect(view, &LogTextView::textChanged, message,
                         [=] { message->setText(matchMessage(search->field().text(), view->text())); });
    }
}

QObject *Wizard::object(const QString &objectName) const {
    for (QObject *root : {static_cast<QObject *>(window_.get()), static_cast<QObject *>(logWindow_.get())}) {
        if (QObject *found = findIn(root, objectName)) {
            return found;
        }
    }
    return nullptr;
}

Control *Wizard::control(const QString &objectName) {
    QObject *found = object(objectName);
    return found != nullptr ? controlOf(*found) : nullptr;
}

Control *Wizard::controlOf(QObject &object) {
    if (auto *own = dynamic_cast<Control *>(&object)) {
        return own;
    }
    std::unique_ptr<Control> &adapter = adapters_[&object];
    if (!adapter) {
        adapter = makeAdapter(object);
    }
    return adapter.get();
}

int Wizard::run() {
    return QApplication::exec();
}

} // namespace kyb
