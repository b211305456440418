#pragma once

#include <QSize>
#include <QString>
#include <atomic>

namespace kyb {

/// A process-wide truth value of one byte: written whole by one side, polled by others, with no lock and no ordering.
/// A reader may see a change late.
class Flag {
public:
    constexpr explicit Flag(bool initial) : value_(initial) {}
    Flag &operator=(bool value) {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }
    operator bool() const { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> value_;
};
static_assert(sizeof(Flag) == 1 && std::atomic<bool>::is_always_lock_free);

/// A picture of the bundle: its file name, and the size in points at which it is shown (empty: its own size).
/// Toolkit-free, so that a run without a screen handles it too. Main thread.
struct NamedImage {
    QString name;
    QSize size;
    bool operator==(const NamedImage &) const = default;
};

} // namespace kyb

/// What the process-wide constants and flags below are named after; they are no members of it.
class KYGlobalConstants {};

// clang-format off

inline constexpr char kPrivateDragObject[]                  = "com.kyb.sourceIconObject"; ///< pasteboard type of the dragged package icon

inline constexpr char PerformDragOperationNotification[]    = "com.kyb.PerformDragOperationNotification";  ///< the icon was dropped on the destination
inline constexpr char UpdateProgressBarNotification[]       = "com.kyb.UpdateProgressBarNotification";     ///< nobody posts or observes it
inline constexpr char UninstallFinishedNotification[]       = "com.kyb.UninstallFinishedNotification";     ///< observed; nobody posts it
inline constexpr char TermsNotAcceptedNotification[]        = "com.kyb.TermsNotAcceptedNotification";      ///< a drag was tried before the terms were accepted

inline constexpr char installProgressLog[]                  = "/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log"; ///< the progress message file, a fixed system path

//                         initial                          meaning                                             set by
extern QString             curUserName;                 ///< "": the user on whose behalf the installation runs  main
extern kyb::Flag           isPrivateComputerAccepted;   ///< true: the computer is private, not public           main, check boxes
extern kyb::Flag           installationInProgress;      ///< false: the package installer runs                   startPackageInstallation, installPackage
extern kyb::Flag           uninstallationInProgress;    ///< false: the earlier version is being removed         proceedWithInstallation, uninstallPreviousVersion
extern kyb::Flag           isTermsAndConditionsAccepted;///< false: the terms check box is on                    check box, catalog, engine
extern kyb::Flag           isInitializationComplete;    ///< false: the catalog has finished its scan            onAppsInitializationComplete
extern kyb::Flag           isSilentInstall;             ///< false: the process runs without user interface      main
extern kyb::Flag           isUninstallationDone;        ///< false: the uninstall progress reached its end       checkTheUninstallationProgressbarPercentage
extern kyb::Flag           installFailed;               ///< false: the installation or its command channel failed  engine, channel
extern kyb::NamedImage     sourceIconImage;             ///< none: the picture in the drag source view           catalog, KYSourceView
extern kyb::NamedImage     backgroundImage;             ///< none: the window's background picture               KYBackgroundView

// clang-format on
