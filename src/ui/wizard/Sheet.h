#pragma once

#include <QDialog>

namespace kyb {

/// A panel that blocks the window it belongs to. It goes away by its buttons only: Escape and the close button press
/// the one that the sheet names.
class Sheet : public QDialog {
    Q_OBJECT

public:
    using QDialog::QDialog;

public Q_SLOTS:
    void reject() override;
};

} // namespace kyb
