// The least that a window with as many widgets as the wizard's can be: bare_window COUNT. Says "painted" when it was
// painted for the first time, and its resident memory when it has come to rest.

#include "FirstPaint.h"

#include <QApplication>
#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    const int count = argc > 1 ? QByteArray(argv[1]).toInt() : 100;
    QWidget window;
    window.setFixedSize(720, 480);
    auto *layout = new QGridLayout(&window);
    layout->addWidget(new QTextBrowser, 0, 0, 1, 10);
    layout->addWidget(new QProgressBar, 1, 0, 1, 10);
    for (int i = 0; QApplication::allWidgets().size() < count; ++i) {
        QWidget *widget = i % 8 == 0   ? static_cast<QWidget *>(new QPushButton(QStringLiteral("Button")))
                          : i % 8 == 1 ? static_cast<QWidget *>(new QCheckBox(QStringLiteral("Box")))
                                       : static_cast<QWidget *>(new QLabel(QStringLiteral("Label")));
        layout->addWidget(widget, 2 + i / 10, i % 10);
    }
    const FirstPaint firstPaint(window);
    window.show();
    return QApplication::exec();
}
