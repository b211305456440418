#pragma once

#include "base/KYGlobalConstants.h"
#include "support/turn_until.h"

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QTemporaryDir>
#include <QWidget>
#include <gtest/gtest.h>

/// A bundle of a test's own, in a temporary folder, the shared flags as they are at the start of the process, and a
/// system that leaves drags to the toolkit.
class TestBundle : public ::testing::Test {
protected:
    TestBundle();
    ~TestBundle() override;

    void addFile(const QString &name, const QByteArray &contents) const;
    void addPicture(const QString &name, QSize pixels, const QColor &color) const;
    void addText(const QString &key, const QString &text) const;
    static void letSystemCarryDrags();

    /// How often \p notification was posted so far, in this test.
    int posts(const char *notification) const;

private:
    QTemporaryDir folder_;
    int observations_[2];
    int drops_ = 0;
    int refusals_ = 0;
};

/// What \p widget shows at \p devicePixelRatio pixels to the point.
QImage shot(QWidget &widget, double devicePixelRatio = 1);

/// A picture file of one colour.
QByteArray png(QSize pixels, const QColor &color);

/// An icon container with those pictures.
QByteArray icns(const QList<QByteArray> &pictures);
