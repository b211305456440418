#pragma once

#include <QApplication>

class KYAppDelegate;
class QSessionManager;

namespace kyb {

/// The application object of the screens. Whatever would end it from outside is put to the delegate first.
/// Main thread.
class WizardApplication : public QApplication {
    Q_OBJECT

public:
    /// Those of `main`; \p argc must live as long as the application.
    WizardApplication(int &argc, char **argv);

    /// Until there is one, nobody is asked. It stays the caller's, who takes it away again before it ends.
    void setDelegate(KYAppDelegate *delegate) { delegate_ = delegate; }

protected:
    bool event(QEvent *event) override;

private:
    void terminateAfterLastWindowClosed();
    void answerSessionEnd(QSessionManager &session);

    KYAppDelegate *delegate_ = nullptr;
};

} // namespace kyb
