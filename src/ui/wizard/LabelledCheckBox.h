#pragma once

#include <QCheckBox>

namespace kyb {

/// A check box whose text stands beside it, as a label of its own. The gap between the two is part of the box, and
/// takes clicks as box and label do. Main thread.
class LabelledCheckBox : public QCheckBox {
public:
    using QCheckBox::QCheckBox;

    QSize sizeHint() const override { return withGap(QCheckBox::sizeHint()); }
    QSize minimumSizeHint() const override { return withGap(QCheckBox::minimumSizeHint()); }

protected:
    bool hitButton(const QPoint &position) const override { return rect().contains(position); }

private:
    static QSize withGap(QSize box) {
        constexpr int kGap = 8; // points
        return box + QSize(kGap, 0);
    }
};

} // namespace kyb
