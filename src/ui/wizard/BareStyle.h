#pragma once

#include <QProxyStyle>

namespace kyb {

/// The toolkit's own style, for where no desktop brings one, with three things made plain: which button is the default
/// one, where a check box is and whether it has the focus, and how far a progress bar has come. Titles of buttons keep
/// clear of their frames. All colours are those of the palette, light or dark. Main thread; the application owns it.
///
/// Why not this style everywhere: a desktop's style follows its user's settings, and an installer that looks like no
/// other program there earns no trust. Why not the toolkit's as it is: where there is no desktop there is nothing to
/// look like, and it tells these three things by slight shades only. A proxy, because all the rest of it is right.
class BareStyle : public QProxyStyle {
    Q_OBJECT

public:
    BareStyle();

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                           const QWidget *widget) const override;
};

} // namespace kyb
