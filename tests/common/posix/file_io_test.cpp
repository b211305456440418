#include "posix/file_io.h"

#include "support/RootFolder.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace kyb {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class FileIo : public testing::Test {
protected:
    FileIo() { fs::create_directory(folder()); }

    void write(const std::string &content) const { std::ofstream(path()) << content; }
    std::string folder() const { return root_.at("/folder"); }
    std::string path() const { return folder() + "/file"; }
    std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder()), {}));
    }

    test::RootFolder root_;
};

/// \return the reason why \p path cannot be opened; 0 when it can be.
int refusal(const std::string &path, int flags = O_RDONLY) {
    errno = 0;
    const UniqueFd file = openRegularFile(path, flags);
    return file ? 0 : errno;
}

TEST_F(FileIo, OpensARegularFileAndReadsItToItsEnd) {
    const std::string content = std::string(200'000, 'x') + "end";
    write(content);
    const UniqueFd file = openRegularFile(path(), O_RDONLY);
    EXPECT_EQ(readAll(file.get(), content.size()), content);
    EXPECT_NE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(FileIo, OpensARegularFileBelowAFolder) {
    write("below");
    const UniqueFd opened(open(folder().c_str(), O_RDONLY | O_DIRECTORY));
    EXPECT_EQ(readAll(openRegularFile("file", O_RDONLY, 0, opened.get()).get(), kNoLimit), "below");
    EXPECT_FALSE(openRegularFile("file", O_RDONLY, 0, UniqueFd().get()));
}

TEST_F(FileIo, MakesARegularFileWithItsMode) {
    EXPECT_TRUE(openRegularFile(path(), O_WRONLY | O_CREAT, 0600));
    struct stat info {};
    ASSERT_EQ(stat(path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
}

TEST_F(FileIo, MakesARegularFileWithItsModeWhateverTheUmask) {
    const mode_t before = umask(0777);
    const UniqueFd file = openRegularFile(path(), O_WRONLY | O_CREAT, 0640);
    umask(before);
    struct stat info {};
    ASSERT_EQ(fstat(file.get(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
}

TEST_F(FileIo, OpensNeitherFifoNorDeviceNorFolder) {
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    EXPECT_EQ(refusal(path()), EINVAL) << "without waiting for a writer";
    EXPECT_NE(refusal(path(), O_WRONLY), 0) << "without waiting for a reader";
    EXPECT_EQ(refusal("/dev/null"), EINVAL);
    EXPECT_EQ(refusal(folder()), EINVAL);
    EXPECT_EQ(refusal(root_.at("/missing")), ENOENT);
}

TEST_F(FileIo, FollowsALinkUnlessToldOtherwise) {
    write("behind the link");
    fs::create_symlink(path(), folder() + "/link");
    EXPECT_EQ(refusal(folder() + "/link"), 0);
    EXPECT_EQ(refusal(folder() + "/link", O_RDONLY | O_NOFOLLOW), ELOOP);
}

TEST_F(FileIo, MakesNoFileBehindALink) {
    fs::create_symlink(path(), folder() + "/link");
    EXPECT_EQ(refusal(folder() + "/link", O_WRONLY | O_CREAT), ENOENT) << "what is there is opened as it is";
    EXPECT_FALSE(fs::exists(path()));
}

TEST_F(FileIo, OpensAFurtherNameOfAFileOnlyWhereLinksAreFollowed) {
    write("text");
    fs::create_hard_link(path(), folder() + "/name");
    EXPECT_EQ(refusal(folder() + "/name"), 0);
    EXPECT_EQ(refusal(folder() + "/name", O_RDONLY | O_NOFOLLOW), EINVAL);
}

TEST_F(FileIo, FillsTheStandardDescriptorsThatAreClosedAndNoOthers) {
    const pid_t child = fork();
    if (child == 0) {
        const int next = dup(STDIN_FILENO);
        close(next);
        close(STDIN_FILENO);
        close(STDERR_FILENO);
        fillStandardDescriptors();
        const bool areOpen = fcntl(STDIN_FILENO, F_GETFD) == 0 && fcntl(STDERR_FILENO, F_GETFD) == 0;
        _exit(areOpen && fcntl(next, F_GETFD) < 0 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(FileIo, ReadsNoMoreThanTheLimit) {
    write("12345");
    EXPECT_EQ(readAll(openRegularFile(path(), O_RDONLY).get(), 5), "12345");
    EXPECT_FALSE(readAll(openRegularFile(path(), O_RDONLY).get(), 4));
    EXPECT_EQ(errno, EFBIG);
}

TEST_F(FileIo, ReadsNothingFromWhatIsNotOpen) {
    EXPECT_FALSE(readAll(UniqueFd().get(), kNoLimit));
    EXPECT_EQ(errno, EBADF);
}

TEST_F(FileIo, PutsAFileInThePlaceOfAnother) {
    write("old");
    const UniqueFd old(open(path().c_str(), O_RDONLY));
    EXPECT_TRUE(replaceFile(path(), "new", {.mode = 04751}));
    EXPECT_EQ(test::contentOf(path()), "new");
    EXPECT_EQ(readAll(old.get(), kNoLimit), "old") << "who had opened it keeps the old one whole";
    struct stat info {};
    ASSERT_EQ(stat(path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 04751U);
    EXPECT_EQ(entries(), 1U);
}

/// A program that is open for writing cannot be started.
TEST_F(FileIo, PutsAFileIntoItsPlaceThatNobodyHasOpen) {
    const UniqueFd watch(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ASSERT_GE(inotify_add_watch(watch.get(), folder().c_str(), IN_CLOSE_WRITE | IN_MOVED_TO), 0);
    ASSERT_TRUE(replaceFile(path(), "content", {.mode = 0755}));
    alignas(inotify_event) std::array<char, 4096> bytes{};
    const ssize_t count = read(watch.get(), bytes.data(), bytes.size());
    std::vector<std::uint32_t> seen;
    for (ssize_t at = 0; at < count;) {
        const auto *event = reinterpret_cast<const inotify_event *>(bytes.data() + at);
        seen.push_back(event->mask);
        at += static_cast<ssize_t>(sizeof *event + event->len);
    }
    EXPECT_EQ(seen, (std::vector<std::uint32_t>{IN_CLOSE_WRITE, IN_MOVED_TO}));
}

TEST_F(FileIo, ReplacesALinkAndNotWhatItLeadsTo) {
    write("kept");
    fs::create_symlink(path(), folder() + "/link");
    EXPECT_TRUE(replaceFile(folder() + "/link", "new", {.mode = 0600}));
    EXPECT_FALSE(fs::is_symlink(folder() + "/link"));
    EXPECT_EQ(test::contentOf(path()), "kept");
}

TEST_F(FileIo, LeavesTheOldFileWhenItCannotBeReplaced) {
    fs::create_directories(path() + "/in the way");
    errno = 0;
    EXPECT_FALSE(replaceFile(path(), "new", {.mode = 0600}));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(fs::exists(path() + "/in the way"));
    EXPECT_EQ(entries(), 1U) << "and nothing else";
    EXPECT_FALSE(replaceFile(root_.at("/missing/file"), "new", {.mode = 0600}));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileIo, LeavesTheOldFileWhenTheNewOneCannotBeWritten) {
    write("old");
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{.rlim_cur = 10, .rlim_max = before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const bool isReplaced = replaceFile(path(), std::string(100, 'n'), {.mode = 0600});
    const int error = errno;
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(isReplaced);
    EXPECT_EQ(error, EFBIG);
    EXPECT_EQ(test::contentOf(path()), "old");
    EXPECT_EQ(entries(), 1U);
}

TEST(WriteAll, FailsWhereThePipeIsFull) {
    const Pipe pipe = makePipe();
    makeNonBlocking(pipe.writing);
    const std::string tooMuch(std::size_t{4} << 20, 'x');
    EXPECT_FALSE(writeAll(pipe.writing.get(), tooMuch));
    EXPECT_EQ(errno, EAGAIN);
}

TEST(WriteAll, FailsWhereNobodyReads) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    Pipe pipe = makePipe();
    pipe.reading.reset();
    EXPECT_FALSE(writeAll(pipe.writing.get(), "text"));
    EXPECT_EQ(errno, EPIPE);
    std::signal(SIGPIPE, before);
}

TEST(WriteAll, WritesWhateverTheSystemTakesAtATime) {
    Pipe pipe = makePipe();
    const std::string much(std::size_t{4} << 20, 'x');
    const pid_t writer = fork();
    if (writer == 0) {
        _exit(writeAll(pipe.writing.get(), much) ? 0 : 1);
    }
    pipe.writing.reset();
    EXPECT_EQ(readAll(pipe.reading.get(), kNoLimit), much);
    int status = -1;
    EXPECT_EQ(waitpid(writer, &status, 0), writer);
    EXPECT_EQ(status, 0);
}

constexpr std::size_t kPipeBytes = 4096;

/// A pipe that is empty or full, and what ends a wait for it.
struct Wait {
    const char *name;
    std::size_t bytesBefore;
    bool (*wait)(const Pipe &pipe);
    void (*end)(Pipe &pipe);
};

void writeAndClose(Pipe &pipe) {
    writeAll(pipe.writing.get(), "x");
    pipe.writing.reset();
}

void makeRoom(Pipe &pipe) {
    std::array<char, kPipeBytes> all{};
    EXPECT_EQ(read(pipe.reading.get(), all.data(), all.size()), std::ssize(all));
}

const Wait kWaits[] = {
    {"Input", 0, [](const Pipe &pipe) { return waitForInput(pipe.reading.get(), 1h); }, writeAndClose},
    {"Room", kPipeBytes, [](const Pipe &pipe) { return waitForRoom(pipe.writing.get(), 1h); }, makeRoom},
    {"ReadingAll", 0, [](const Pipe &pipe) { return readAll(pipe.reading.get(), kNoLimit) == "x"; }, writeAndClose},
    {"WritingAll", kPipeBytes, [](const Pipe &pipe) { return writeAll(pipe.writing.get(), "x"); }, makeRoom},
};

void PrintTo(const Wait &wait, std::ostream *stream) {
    *stream << wait.name;
}

class WaitForAPipe : public testing::TestWithParam<Wait> {};

TEST_P(WaitForAPipe, GoesOnWhenASignalComes) {
    struct sigaction nothing {};
    struct sigaction before {};
    nothing.sa_handler = [](int) {};
    sigaction(SIGUSR1, &nothing, &before);
    Pipe pipe = makePipe();
    fcntl(pipe.writing.get(), F_SETPIPE_SZ, kPipeBytes);
    ASSERT_TRUE(writeAll(pipe.writing.get(), std::string(GetParam().bytesBefore, 'x')));

    std::atomic hasEnded = false;
    bool isGood = false;
    std::thread waiting([&] {
        isGood = GetParam().wait(pipe);
        hasEnded = true;
    });
    for (int i = 0; i < 50 && !hasEnded; ++i) {
        pthread_kill(waiting.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_FALSE(hasEnded);
    GetParam().end(pipe);
    waiting.join();
    EXPECT_TRUE(isGood);
    sigaction(SIGUSR1, &before, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Kinds, WaitForAPipe, testing::ValuesIn(kWaits),
                         [](const auto &row) { return row.param.name; });

TEST(WaitForInput, EndsAtItsTimeWhereNothingComes) {
    EXPECT_FALSE(waitForInput(makePipe().reading.get(), 1ms)); // NB: the writing end is open until the line's end
}

TEST(MakePipe, MakesEndsThatCloseThemselvesAndWait) {
    const Pipe pipe = makePipe();
    for (const UniqueFd *end : {&pipe.reading, &pipe.writing}) {
        EXPECT_EQ(fcntl(end->get(), F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(fcntl(end->get(), F_GETFL) & O_NONBLOCK, 0);
    }
}

TEST(MakePipe, GivesEmptyEndsWhenTheSystemRefuses) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const Pipe pipe = makePipe();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_FALSE(pipe.reading);
    EXPECT_FALSE(pipe.writing);
}

} // namespace
} // namespace kyb
