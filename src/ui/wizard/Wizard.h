#pragma once

#include "controller/UserInterface.h"
#include "ui/wizard/InterfaceTranslator.h"
#include "ui/wizard/WizardApplication.h"

#include <QTranslator>
#include <map>
#include <memory>

class QObject;
class QWidget;

namespace kyb {

class WizardWindow;

/// The screens as widgets, out of the interface descriptions in the bundle. Made once, before anything else of the
/// toolkit. The program never destroys it; who does, does so after the event loop. Main thread.
///
/// It owns the windows, which own what stands in them; so a control is there as long as the wizard is. The program's
/// own widgets are their own controls; for one of the toolkit's an adapter is made when it is first asked for.
///
/// `load` is all or nothing: after a problem the wizard is not to be used. What a description lacks beyond the main
/// window and its box is no problem, and its control is null.
class Wizard : public UserInterface {
public:
    Wizard(int &argc, char **argv);
    ~Wizard() override;
    Wizard(const Wizard &) = delete;
    Wizard &operator=(const Wizard &) = delete;

    QString load(const QString &resourcesFolder, KYAppDelegate &delegate) override;
    Control *control(const QString &objectName) override;
    int run() override;

    /// The widget, action or menu of that object name, or null. After `load`.
    QObject *object(const QString &objectName) const;

    /// The main window, or null. After `load`.
    WizardWindow *window() const { return window_.get(); }

private:
    QString loadMainWindow(const QString &folder);
    QString loadScreens(const QString &folder);
    QString loadSheets(const QString &folder);
    QString loadLogWindow(const QString &folder);
    Control *controlOf(QObject &object);
    void loadTexts();
    void giveIcons();
    void wireAbout();
    void wireLogButton();
    void wireLogWindow();
    void showAbout();

    WizardApplication application_;
    InterfaceTranslator interfaceTexts_;
    QTranslator toolkitTexts_;                               ///< what the toolkit says in menus and panels of its own
    std::map<QObject *, std::unique_ptr<Control>> adapters_; ///< outlive the widgets, whose signals refer to them
    std::unique_ptr<QWidget> logWindow_;
    std::unique_ptr<WizardWindow> window_;
};

} // namespace kyb
