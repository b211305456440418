// Another program's window, which takes whatever is dragged onto it and says what comes: drop_acceptor X Y SIDE

#include <QApplication>
#include <QDragEnterEvent>
#include <QWidget>
#include <cstdio>

namespace {

void say(const char *event) {
    std::puts(event);
    std::fflush(stdout);
}

class Acceptor : public QWidget {
public:
    Acceptor() {
        setAcceptDrops(true);
        setAttribute(Qt::WA_ShowWithoutActivating);
    }

protected:
    void paintEvent(QPaintEvent *) override { say("shown"); }
    void dragEnterEvent(QDragEnterEvent *event) override {
        event->acceptProposedAction();
        say("entered");
    }
    void dragMoveEvent(QDragMoveEvent *event) override {
        event->acceptProposedAction();
        say("moved");
    }
    void dragLeaveEvent(QDragLeaveEvent *) override { say("left"); }
    void dropEvent(QDropEvent *event) override {
        event->acceptProposedAction();
        say("dropped");
    }
};

} // namespace

int main(int argc, char **argv) {
    const QApplication application(argc, argv);
    const QStringList words = QApplication::arguments();
    Acceptor acceptor;
    acceptor.setGeometry(words.at(1).toInt(), words.at(2).toInt(), words.at(3).toInt(), words.at(3).toInt());
    acceptor.show();
    return QApplication::exec();
}
