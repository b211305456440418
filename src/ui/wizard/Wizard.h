#pragma once

#include "controller/interface.h"
#include "ui/wizard/InterfaceTranslator.h"
#include "ui/wizard/WizardApplication.h"

#include <map>
#include <memory>

class QObject;
class QWidget;

namespace kyb {

class WizardWindow;

/// The screens as widgets, out of the interface descriptions in the bundle. Made once, before anything else of the
/// toolkit; ended after the event loop. Main thread.
class Wizard : public Interface {
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
    Control *makeControlFor(QObject &object);
    void dressUp();
    void wireAbout();
    void wireLogButton();
    void showAbout();

    WizardApplication application_;
    InterfaceTranslator translator_;
    std::map<QObject *, std::unique_ptr<Control>> controls_; ///< outlives the widgets, whose signals refer to it
    std::unique_ptr<QWidget> logWindow_;
    std::unique_ptr<WizardWindow> window_;
};

} // namespace kyb
