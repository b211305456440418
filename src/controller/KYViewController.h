#pragma once

#include "controller/KYRavexApp.h"
#include "controller/outlet.h"
#include "controller/progress_message.h"
#include "platform/child_task.h"
#include "posix/Mutex.h"
#include "text/log_viewer_text.h"

#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace kyb {
class UserInterface;
}

/// The one controller: everything that the installer does, told as a book. Each chapter is implemented in its room's
/// folder, in the file that its heading names.
///
/// Contents, in the order in which things happen for the user:
///
///   1. Start-up                          shell/Startup.cpp
///   2. The wrapper log                   logging/WrapperLog.cpp
///   3. The texts of the screens          ui/Construction.cpp
///   4. The package on offer              catalog/Catalog.cpp
///   5. The system and the disk           catalog/SystemDetails.cpp
///   6. Screens and navigation            ui/Navigation.cpp
///   7. From the decision to the result   install/Orchestration.cpp
///   8. The privileged helper             privileged/PrivilegedHelper.cpp
///   9. The package installer's run       install/PackageRun.cpp
///  10. The progress channel              install/ProgressChannel.cpp
///  11. The system installer's log        logging/InstallerLog.cpp
///  12. Sheets and the quit guard         ui/Sheets.cpp
///  13. Outlets                           ui/Outlets.cpp
///
/// Made on the main thread, after the application object. Its background tasks use it until the process ends, so it is
/// never destroyed before them (see `kyb::endProcess`). Operations are for the main thread unless their chapter says
/// otherwise. None throws and, but for the one that says so, none reports a failure other than by the wrapper log and
/// `installFailed`.
class KYViewController {
public:
    /// Who asked for an operation: a control of the interface, or nobody.
    using Sender = kyb::HasText *;

    KYViewController() = default;
    ~KYViewController();
    KYViewController(const KYViewController &) = delete;
    KYViewController &operator=(const KYViewController &) = delete;

    /// \name 1. Start-up
    /// @{

    /// Everything that happens once the interface is there (or is known not to come): observers, wrapper log, texts,
    /// first state of the controls, catalog. Called once, before the event loop.
    void awakeFromNib();
    /// @}

    /// \name 2. The wrapper log
    /// @{

    /// Prepares the working folder and the log file "/var/tmp/kyb/BrelundQuorlix.log", and writes the start banner.
    /// Called once, before anything logs.
    void initLogFile();

    /// Reports \p message to the system log, to `internalLog` and, date-stamped, to the log file. The entry is on disk
    /// when this returns; a file that cannot be written is passed over in silence. Any thread.
    void WriteLog(const QString &message);

    /// This run's messages so far, a line feed after each. Any thread.
    QString internalLog() const;
    /// @}

    /// \name 3. The texts of the screens
    /// @{

    /// Gives the controls their localized texts: 27 assignments, in order. Once, after `initLogFile`.
    void initializeNIB();
    /// @}

    /// \name 4. The package on offer
    /// @{

    /// Makes `selectedApp`, logs the system facts and looks for the package beside the bundle. When it is there, the
    /// versions are read in the background; when it is missing, the first screen says so and stays.
    void initApps();

    /// Reads both versions, then runs `onAppsInitializationComplete` on the main thread. A background thread.
    void initAppsDetailsInBackground();

    /// Reads the version on offer out of "macver.list". It stays absent when there is none. A background thread.
    void getAvailableApplicationVersions();

    /// Reads the installed version out of the receipt. A background thread.
    void getInstalledApplicationVersions();

    /// Starts the installation (silent mode), or fills the first screen and lets the user accept the terms.
    void onAppsInitializationComplete();
    /// @}

    /// \name 5. The system and the disk
    /// @{

    /// Reads the system's version and logs four facts about machine and user.
    void getSystemVersionDetails();

    /// Shows the start-up volume's name and free space, in decimal gigabytes, on the destination's label.
    void setDestinationDiskDetails();
    /// @}

    /// \name 6. Screens and navigation
    /// @{
    void displayLicenseView(Sender sender);
    void showLicenseText();
    void displayInstallationViewFromLicenseView();
    void displayPublicOrPrivateView();
    void displayInstallationInProgressView();

    /// Shows the result and collects the logs; in silent mode ends the application instead.
    void displayInstallFinishedView();

    /// What the forward button does is decided by the title that it shows. A title that is none of the three known ones
    /// ends the application.
    void nextOrBackOrFinishButtonAction(Sender sender);
    void backButtonActionInPublicPrivateView(Sender sender);
    void acceptTermsCheckBoxClicked(Sender sender);
    void publicCheckBoxClicked(Sender sender);
    void privateCheckBoxClicked(Sender sender);

    /// Draws the red border around the terms, if they can be accepted now.
    void showBorderOnTermsAndConditionsView();
    /// @}

    /// \name 7. From the decision to the result
    /// @{
    void initiateInstallation();

    /// Makes sure that the helper is there, then removes an earlier version and installs, in the background. When the
    /// helper cannot be registered nothing is started and the screen stays as it is.
    void proceedWithInstallation();

    /// Runs the earlier version's uninstall script. What the script does is not read. A background thread.
    void uninstallPreviousVersion();

    /// Starts the capture of the system installer's log and the installation, each on a background thread.
    void startPackageInstallation();

    /// Installs, writes the public/private choice and hands over to the result. A background thread.
    void installSelectedPackages();

    /// Writes the choice into the driver's administrator preferences, if that file exists. A background thread.
    void updateValueBasedOnPublicOrPrivateCheckBox();

    /// Asks the application to terminate. A silent run ends with the status 1 when `installFailed` is set, else 0.
    void exitApplication(Sender sender);
    /// @}

    /// \name 8. The privileged helper
    /// @{

    /// Asks for administrator rights and installs the helper tool \p label. \p error is never written to.
    /// \return whether the helper is in place.
    bool registerHelperTool(const QString &label, std::optional<QString> *error);

    enum class InstallerLog { No, Yes };

    /// Sends one shell command line to the helper and returns without waiting for its answer. With
    /// `InstallerLog::Yes` the progress message file is removed first, and the helper is told to write it.
    /// What goes wrong sets `installFailed`, at any later time. Any thread; with `InstallerLog::Yes` not the main one.
    void xpcConnection(const QString &command, InstallerLog withInstallerLog);

    /// Runs a script: through the helper and not waited for; in silent mode directly, and waited for. Any thread.
    void runScriptWithAuthorization(const QString &script);
    /// @}

    /// \name 9. The package installer's run
    /// @{

    /// Has the helper install the package, and follows the installer's output until it has ended or failed; the outcome
    /// is `installFailed`. A background thread. \return true.
    bool installPackage();
    /// @}

    /// \name 10. The progress channel
    /// @{

    /// Shows a message: the bar's value, and the text unless it is empty.
    void displayProgressInfo(const kyb::ProgressMessage &message);

    /// Sets the bar to 10 and lets it animate.
    void updatesTheInstallationProgressbar();

    /// Sets `isUninstallationDone` when the bar has reached its end.
    void checkTheUninstallationProgressbarPercentage();

    /// Simulates progress while the earlier version is removed, then starts the installation. A background thread.
    void startUninstallationProgressUpdate();
    /// @}

    /// \name 11. The system installer's log
    /// @{

    /// Starts to copy what is appended to "/var/log/install.log". A background thread.
    void startMonitoringLogFile();

    /// Ends that copying, if it runs. Any thread.
    void stopMonitoringLogFile();

    /// Queues the next two operations on the main thread. A background thread.
    void retrieveInstallationLogsToView();
    void retrieveInstallationLogFromSystemLogs();
    void enableShowLogMenuItem();

    void showInstallationLog(Sender sender);
    void filterLog(Sender sender);
    void showLogFileSavePanel(Sender sender);
    /// @}

    /// \name 12. Sheets and the quit guard
    /// @{

    /// Ends the application, or says why not while the engine works.
    void displayWarningSheetWhenQuittingApplication(Sender sender);
    void displayWarningSheet();
    void displayAppsBusyWarningSheet();
    void quitAppWarningSheetOKPressed(Sender sender);
    void warningSheetOKPressed(Sender sender);
    void warningSheetCancelPressed(Sender sender);
    void appsBusyWarningSheetCancelPressed(Sender sender);
    /// @}

    /// \name 13. Outlets
    /// @{

    /// Connects every outlet that \p userInterface has, and the controls' actions. Before `awakeFromNib`; a run without
    /// screens never calls it. The interface lives as long as the process.
    void connectOutlets(kyb::UserInterface &userInterface);

    // Main window and screen containers
    kyb::Outlet<kyb::Window> parentWindow, titleWindow;
    kyb::Outlet<kyb::View> installationBox;
    kyb::Outlet<kyb::View> installationView, licenseView, publicOrPrivateView, installationProgressView,
        installationResultView, lockView;
    // Drag-and-drop screen
    kyb::Outlet<kyb::Image> sourceIconView, arrowImageView, warningImageView;
    kyb::Outlet<kyb::Text> packageNameLabel, destinationNameLabel, warningField, titleDragandDropMessage, topInfoLabel;
    kyb::Outlet<kyb::View> warningScrollView, tooltipView;
    kyb::Outlet<kyb::ProgressIndicator> initializationProgressIndicator;
    // Terms screen
    kyb::Outlet<kyb::RichText> licenseTextView;
    kyb::Outlet<kyb::View> termsAndConditionsView;
    kyb::Outlet<kyb::Box> termsAndConditionsViewBox;
    kyb::Outlet<kyb::CheckBox> checkBoxButton;
    kyb::Outlet<kyb::Button> termsOfServiceButton;
    kyb::Outlet<kyb::Text> licenseAgrement, agreeTermsOfKYB;
    // Public or private screen
    kyb::Outlet<kyb::CheckBox> publicCheckBoxButton, privateCheckBoxButton;
    kyb::Outlet<kyb::Text> publicMessage, privateMessage, saveComputerSettingsMessage;
    // Progress and result screens
    kyb::Outlet<kyb::ProgressIndicator> installProgressIndicator;
    kyb::Outlet<kyb::Text> progressInfoLabel, installProgressViewBoldLabel, initializingInstaller,
        installerBusyWarningLabel, lockViewLabel;
    kyb::Outlet<kyb::Text> installationResultLabel, installationSubResultLabel;
    kyb::Outlet<kyb::Image> installationInProgressImageView, installationResultImageView;
    // Navigation buttons
    kyb::Outlet<kyb::Button> nextButton, backButton, closeButton, cancelButton, multipleActionsButton;
    // Sheets
    kyb::Outlet<kyb::Sheet> warningSheetWindow, appsBusyWarningSheetWindow, quitAppWarningSheet;
    kyb::Outlet<kyb::Text> warningSheetTextView;
    kyb::Outlet<kyb::Image> warningSheetImageView;
    kyb::Outlet<kyb::Button> warningSheetOKButton, warningSheetCancelButton;
    kyb::Outlet<kyb::Box> appsBusyWarningSheet_warning;
    kyb::Outlet<kyb::Text> appsBusyWarningSheet_closeApplications;
    kyb::Outlet<kyb::Button> appsBusyWarningSheet_CancelButton, appsBusyWarningSheet_ContinueButton,
        appRunning_ContinueButton;
    kyb::Outlet<kyb::Text> quit_App_WarningSheet_installerBusyMessage, quit_App_WarningSheet_windowClosedMessage;
    kyb::Outlet<kyb::Button> quit_App_WarningSheet_OK;
    // Menu
    kyb::Outlet<kyb::MenuItem> showLogMenuItem, aboutMenuItem, installerLog, hideMenuItem, hideOthers, showAll,
        quitMenuItem;
    // Log viewer
    kyb::Outlet<kyb::Window> logWindow;
    kyb::Outlet<kyb::Text> logTextView;
    kyb::Outlet<kyb::ToolBar> logToolBar;
    kyb::Outlet<kyb::MenuItem> searchItem, saveButtonItem;
    /// @}

    /// \name State
    /// Each is for the main thread, but for what a chapter's background operations say of it.
    /// @{
    std::unique_ptr<KYRavexApp> selectedApp;          ///< the package record; made by `initApps`
    std::optional<QString> m_availablePackageVersion; ///< the version on offer; absent until found
    std::int32_t osVersionMajor = 0;                  ///< of the system; 0 until set
    std::int32_t osVersionMinor = 0;                  ///< of the system; 0 until set
    /// The latest log capture.
    std::shared_ptr<kyb::ChildTask> fileMonitoringtask GUARDED_BY(taskMutex_);
    QString logFileData;                 ///< the combined log text, unfiltered
    kyb::LogLines allLinesOfLogFileData; ///< that text's lines
    /// @}

private:
    void showMissingPackage();
    void showFoundPackage();
    void showResult();

    std::vector<int> observations_;
    mutable kyb::Mutex internalLogMutex_;
    QString internalLog_ GUARDED_BY(internalLogMutex_);
    kyb::Mutex taskMutex_;
};
