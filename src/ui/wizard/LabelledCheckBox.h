#pragma once

#include <QCheckBox>

namespace kyb {

/// A check box whose text stands beside it, as a label of its own. The gap between the two is part of the box, and
/// takes clicks as box and label do. Main thread.
class LabelledCheckBox : public QCheckBox {
public:
    using QCheckBox::QCheckBox;

    QSize sizeHint() const override { return QCheckBox::sizeHint() + QSize(kGap, 0); } // NB: it is the least as well

protected:
    bool hitButton(const QPoint &position) const override { return rect().contains(position); }

private:
    static constexpr int kGap = 16; // points
};

} // namespace kyb
