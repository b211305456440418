// A payload of any bytes, unpacked: whatever its entries are called and wherever its links lead, nothing outside of its
// folder is made, changed or taken away, even of what the scan before it has refused.

#include "install_error.h"
#include "payload.h"
#include "posix/UniqueFd.h"
#include "promise.h"
#include "support/RootFolder.h"

#include <archive.h>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <sys/stat.h>

using namespace kyb::macroot;

namespace {

namespace fs = std::filesystem;

using Archive = std::unique_ptr<archive, decltype(&archive_read_free)>;

/// A folder with a neighbour's file beside it.
class Place {
public:
    Place() {
        fs::create_directories(neighbour_.parent_path());
        std::ofstream(neighbour_) << "a neighbour's";
        stat(neighbour_.c_str(), &before_);
    }

    const fs::path &base() const { return base_; }

    void requireUntouched() const {
        struct stat now {};
        require(stat(neighbour_.c_str(), &now) == 0 && now.st_mode == before_.st_mode &&
                now.st_nlink == before_.st_nlink && now.st_mtim.tv_sec == before_.st_mtim.tv_sec &&
                now.st_mtim.tv_nsec == before_.st_mtim.tv_nsec);
        require(entriesIn(top_.path()) == 2 && entriesIn(neighbour_.parent_path()) == 1);
    }

private:
    static std::ptrdiff_t entriesIn(const fs::path &folder) {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    kyb::test::TempFolder top_;
    fs::path base_ = top_ / "base";
    fs::path neighbour_ = top_ / "n/f"; // short, so that it is found
    struct stat before_ {};
};

Archive opened(std::string_view bytes) {
    Archive reader(archive_read_new(), archive_read_free);
    archive_read_support_filter_gzip(reader.get());
    archive_read_support_format_cpio(reader.get());
    if (archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) != ARCHIVE_OK) {
        reader.reset();
    }
    return reader;
}

void use(std::string_view bytes, const std::function<void(archive *)> &how) {
    try {
        if (const Archive reader = opened(bytes)) {
            how(reader.get());
        }
    } catch (const InstallError &) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const Place place;
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    PayloadList list;
    use(bytes, [&](archive *reader) { scanPayload(reader, "", list, [](std::size_t) {}); });
    if (list.totalBytes() > (std::int64_t{1} << 24)) {
        return 0; // small when compressed
    }
    fs::create_directory(place.base());
    const kyb::UniqueFd base(open(place.base().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    use(bytes, [&](archive *reader) { unpackPayload(reader, "", base.get(), [](std::size_t) {}); });
    place.requireUntouched();
    fs::remove_all(place.base());
    return 0;
}
