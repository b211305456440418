/* Preloaded by failing-calls: the write whose number KYB_SHORT_WRITE tells, counted from 1 in each process, writes half of
 * what it is given. So a pipe or a full disk may answer; strace can only answer so without having written anything. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

/* Makes the file that KYB_SHORT_WRITE_DONE names. */
static void note(void) {
    const char *path = getenv("KYB_SHORT_WRITE_DONE");
    const int fd = path != NULL ? open(path, O_CREAT | O_WRONLY | O_CLOEXEC, 0666) : -1;
    if (fd >= 0) {
        close(fd);
    }
}

/* What is no file, pipe or socket, as what wakes a thread, takes all or nothing. */
static int takesPieces(int fd) {
    struct stat info;
    return fstat(fd, &info) == 0 && (info.st_mode & S_IFMT) != 0;
}

static size_t lengthOf(int fd, size_t length) {
    static atomic_int count;
    const char *number = getenv("KYB_SHORT_WRITE");
    const int wanted = number != NULL ? atoi(number) : 0;
    if (length < 2 || !takesPieces(fd) || atomic_fetch_add(&count, 1) + 1 != wanted) {
        return length;
    }
    note();
    return length / 2;
}

#define NEXT(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

ssize_t write(int fd, const void *bytes, size_t length) {
    return NEXT(write)(fd, bytes, lengthOf(fd, length));
}

ssize_t pwrite(int fd, const void *bytes, size_t length, off_t offset) {
    return NEXT(pwrite)(fd, bytes, lengthOf(fd, length), offset);
}

ssize_t pwrite64(int fd, const void *bytes, size_t length, off64_t offset) {
    return NEXT(pwrite64)(fd, bytes, lengthOf(fd, length), offset);
}

ssize_t send(int fd, const void *bytes, size_t length, int flags) {
    return NEXT(send)(fd, bytes, lengthOf(fd, length), flags);
}

ssize_t writev(int fd, const struct iovec *pieces, int count) {
    size_t all = 0;
    for (int i = 0; i < count; ++i) {
        all += pieces[i].iov_len;
    }
    const struct iovec *first = pieces;
    return lengthOf(fd, all) == all ? NEXT(writev)(fd, pieces, count)
                                : NEXT(write)(fd, first->iov_base, first->iov_len > 1 ? first->iov_len / 2 : first->iov_len);
}
