#pragma once

class KYViewController;

/// The application's delegate, and the main window's. Decides whether the window may close and the application may end.
/// Main thread.
class KYAppDelegate {
public:
    explicit KYAppDelegate(KYViewController &controller) : controller_(controller) {}

    /// Whether neither the uninstall nor the installation runs.
    bool isSafeToCloseWindow() const;

    /// Asked before the main window closes. Silent.
    bool windowShouldClose() const;

    /// Asked when the last window has closed.
    bool applicationShouldTerminateAfterLastWindowClosed() const;

    /// Asked when the application is told to quit from outside its own menu: by the Dock, at the session's end. While
    /// the engine works the answer is no, and the quit warning is shown.
    bool applicationShouldTerminate();

private:
    KYViewController &controller_;
};
