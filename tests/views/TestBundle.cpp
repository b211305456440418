#include "TestBundle.h"

#include "base/notification_center.h"
#include "platform/drag.h"
#include "text/localized_text.h"
#include "text/resources.h"
#include "ui/views/KYDestinationView.h"

#include <QBuffer>
#include <QFile>
#include <QMap>
#include <QPixmapCache>
#include <QtEndian>

namespace {

QString resources;
QMap<QString, QString> texts;
bool systemDrags = false;

} // namespace

QString kyb::resourcePath(const QString &fileName) {
    const QString path = resources + u'/' + fileName;
    return QFile::exists(path) ? path : QString();
}

QString kyb::localizedText(const QString &key) {
    return texts.value(key, key);
}

bool kyb::systemCarriesDrags() {
    return systemDrags;
}

TestBundle::TestBundle() {
    resources = folder_.path();
    texts.clear();
    systemDrags = false;
    QPixmapCache::clear();
    sourceIconImage = {};
    backgroundImage = {};
    isInitializationComplete = false;
    isTermsAndConditionsAccepted = false;
    kyb::defaultLineWidth = 1.0;
    observations_[0] = kyb::addObserver(PerformDragOperationNotification, [this] { ++drops_; });
    observations_[1] = kyb::addObserver(TermsNotAcceptedNotification, [this] { ++refusals_; });
}

TestBundle::~TestBundle() {
    for (const int observation : observations_) {
        kyb::removeObserver(observation);
    }
}

void TestBundle::addFile(const QString &name, const QByteArray &contents) const {
    QFile file(folder_.filePath(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(contents), contents.size());
}

void TestBundle::addPicture(const QString &name, QSize pixels, const QColor &color) const {
    addFile(name, png(pixels, color));
}

void TestBundle::addText(const QString &key, const QString &text) const {
    texts.insert(key, text);
}

void TestBundle::letSystemCarryDrags() {
    systemDrags = true;
}

int TestBundle::posts(const char *notification) const {
    return qstrcmp(notification, PerformDragOperationNotification) == 0 ? drops_ : refusals_;
}

QImage shot(QWidget &widget, double devicePixelRatio) {
    QImage image(widget.size() * devicePixelRatio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

QByteArray png(QSize pixels, const QColor &color) {
    QImage image(pixels, QImage::Format_ARGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

QByteArray icns(const QList<QByteArray> &pictures) {
    const auto lengthOf = [](qsizetype bytes) {
        QByteArray length(4, '\0');
        qToBigEndian(quint32(bytes), length.data());
        return length;
    };
    QByteArray entries;
    for (const QByteArray &picture : pictures) {
        entries += "ic07" + lengthOf(picture.size() + 8) + picture;
    }
    return "icns" + lengthOf(entries.size() + 8) + entries;
}
