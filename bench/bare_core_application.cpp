// The least that a Qt program can be: an application object, and one line appended to the file that it is given.

#include <QCoreApplication>
#include <fcntl.h>
#include <unistd.h>

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    const int file = open(argv[1], O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    const bool written = write(file, "started\n", 8) == 8;
    close(file);
    return written ? 0 : 1;
}
