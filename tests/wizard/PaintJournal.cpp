#include "PaintJournal.h"

#include <QPaintEngine>
#include <QPainterPath>
#include <QWidget>

namespace kyb::test {
namespace {

class Engine : public QPaintEngine {
public:
    Engine() : QPaintEngine(AllFeatures) {}

    std::vector<std::string> lines;

    bool begin(QPaintDevice *) override { return true; }
    bool end() override { return true; }
    Type type() const override { return User; }
    void updateState(const QPaintEngineState &) override {}

    void drawPath(const QPainterPath &path) override {
        const QPainterPath::Element start = path.elementAt(0);
        note(QStringLiteral("path %1 from %2, %3 long")
                 .arg(text(path.boundingRect()), text(QPointF(start)))
                 .arg(path.length(), 0, 'f', 1));
    }
    void drawPolygon(const QPointF *points, int count, PolygonDrawMode mode) override {
        QString line = mode == PolylineMode ? QStringLiteral("line") : QStringLiteral("polygon");
        for (int i = 0; i < count; ++i) {
            line += QLatin1Char(' ') + text(points[i]);
        }
        note(line);
    }
    void drawPixmap(const QRectF &to, const QPixmap &, const QRectF &) override {
        note(QStringLiteral("picture %1").arg(text(to)));
    }
    void drawTextItem(const QPointF &, const QTextItem &item) override {
        const QString color = painter()->pen().color().name(QColor::HexArgb);
        lines.push_back(QStringLiteral("text %1, %2").arg(item.text(), color).toStdString());
    }

private:
    static QString text(const QPointF &point) { return QStringLiteral("%1,%2").arg(point.x()).arg(point.y()); }
    static QString text(const QRectF &rect) {
        return QStringLiteral("%1 %2x%3").arg(text(rect.topLeft())).arg(rect.width()).arg(rect.height());
    }
    static QString text(const QPen &pen) {
        const QString caps = pen.capStyle() == Qt::RoundCap ? QStringLiteral(" round") : QString();
        return QStringLiteral(", pen %1 %2%3").arg(pen.color().name(QColor::HexArgb)).arg(pen.widthF()).arg(caps);
    }

    void note(const QString &shape) {
        const QPainter &painter = *this->painter();
        QString line = shape;
        if (!painter.transform().isIdentity()) {
            const QLineF axis = painter.transform().map(QLineF(0, 0, 1, 0));
            line += QStringLiteral(", at %1 turned by %2").arg(text(axis.p1())).arg(qRound(360 - axis.angle()) % 360);
        }
        if (painter.pen().style() != Qt::NoPen) {
            line += text(painter.pen());
        }
        if (painter.brush().style() != Qt::NoBrush) {
            line += QStringLiteral(", brush %1").arg(painter.brush().color().name(QColor::HexArgb));
        }
        if (painter.opacity() < 1) {
            line += QStringLiteral(", opacity %1").arg(painter.opacity());
        }
        if (!painter.testRenderHint(QPainter::Antialiasing)) {
            line += QStringLiteral(", jagged");
        }
        lines.push_back(line.toStdString());
    }
};

class Sheet : public QPaintDevice {
public:
    QPaintEngine *paintEngine() const override { return &engine_; }
    const std::vector<std::string> &lines() const { return engine_.lines; }

protected:
    int metric(PaintDeviceMetric metric) const override {
        switch (metric) {
        case PdmWidth:
        case PdmHeight:
            return 1000;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return static_cast<int>(devicePixelRatioFScale());
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return 96;
        default:
            return QPaintDevice::metric(metric);
        }
    }

private:
    mutable Engine engine_;
};

} // namespace

std::vector<std::string> paintedBy(const std::function<void(QPainter &)> &paint) {
    Sheet sheet;
    QPainter painter(&sheet);
    paint(painter);
    painter.end();
    return sheet.lines();
}

std::vector<std::string> paintedBy(QWidget &widget) {
    return paintedBy([&](QPainter &painter) { widget.render(&painter, {}, {}, QWidget::DrawChildren); });
}

} // namespace kyb::test
