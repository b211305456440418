// The file is a store of numbered blocks, some of which have names. A tree is a block that leads to nodes, each of
// which lists pairs of blocks in the order of their keys. All numbers are big-endian. The format's maker does not
// document it: this follows what others have found out, and fills fields of unknown meaning as the system's own files
// do.

#include "bom.h"

#include "payload_path.h"

#include <algorithm>
#include <map>
#include <span>
#include <stdexcept>
#include <sys/stat.h>

namespace kyb::macroot {
namespace {

using Block = std::uint32_t; // its number; 0 is none

constexpr std::size_t kHeaderBytes = 512;
constexpr std::size_t kFreeListBytes = 20;
constexpr std::size_t kNodeBytes = 4096;
constexpr std::size_t kSmallNodeBytes = 128;
constexpr std::size_t kPairsOfNode = (kNodeBytes - 12) / 8;

/// Bytes, put together from fields.
class Fields {
public:
    Fields &u8(std::uint64_t value) { return number(value, 1); }
    Fields &u16(std::uint64_t value) { return number(value, 2); }
    Fields &u32(std::uint64_t value) { return number(value, 4); }
    Fields &text(std::string_view text) {
        bytes_ += text;
        return *this;
    }
    Fields &zeros(std::size_t count) {
        bytes_.append(count, '\0');
        return *this;
    }
    Fields &zerosTo(std::size_t size) { return zeros(size - bytes_.size()); }

    const std::string &bytes() const { return bytes_; }
    std::size_t size() const { return bytes_.size(); }

private:
    Fields &number(std::uint64_t value, unsigned width) {
        for (unsigned place = width; place > 0; --place) {
            bytes_ += static_cast<char>(value >> (8 * (place - 1)));
        }
        return *this;
    }

    std::string bytes_;
};

class Store {
public:
    Block add(const Fields &content) {
        table_.u32(kHeaderBytes + blocks_.size()).u32(content.size());
        blocks_.text(content.bytes());
        return count_++;
    }
    /// The number of the block that is added next.
    Block next() const { return count_; }

    void name(std::string_view name, Block block) {
        names_.u32(block).u8(name.size()).text(name);
        ++nameCount_;
    }

    std::string file() const {
        const Fields names = Fields().u32(nameCount_).text(names_.bytes());
        const Fields table = Fields().u32(count_).text(table_.bytes()).zeros(kFreeListBytes);
        const std::size_t namesAt = kHeaderBytes + blocks_.size();
        Fields header;
        header.text("BOMStore").u32(1).u32(count_ - 1);
        header.u32(namesAt + names.size()).u32(table.size()).u32(namesAt).u32(names.size()).zerosTo(kHeaderBytes);
        return header.bytes() + blocks_.bytes() + names.bytes() + table.bytes();
    }

private:
    Fields blocks_;
    Fields table_ = Fields().zeros(8); ///< places and lengths; there is no block 0
    Block count_ = 1;
    Fields names_;
    std::uint32_t nameCount_ = 0;
};

/// In a leaf: a value and its key. In the node above the leaves: a leaf and its last key.
struct Pair {
    Block first = 0;
    Block key = 0;
};

struct Neighbours {
    Block next = 0;
    Block previous = 0;
};

enum class NodeKind : std::uint8_t { Inner, Leaf };

Block addNode(Store &store, NodeKind kind, std::span<const Pair> pairs, Neighbours neighbours, std::size_t bytes) {
    Fields node;
    node.u16(kind == NodeKind::Leaf ? 1 : 0).u16(pairs.size()).u32(neighbours.next).u32(neighbours.previous);
    for (const Pair &pair : pairs) {
        node.u32(pair.first).u32(pair.key);
    }
    return store.add(node.zerosTo(bytes));
}

Block addTreeOf(Store &store, Block root, std::size_t nodeBytes, std::size_t pairs) {
    return store.add(Fields().text("tree").u32(1).u32(root).u32(nodeBytes).u32(pairs).u8(0));
}

Block addEmptyTree(Store &store, std::size_t nodeBytes) {
    return addTreeOf(store, addNode(store, NodeKind::Leaf, {}, {}, nodeBytes), nodeBytes, 0);
}

// More levels of nodes would be allowed; nothing here comes near the 260,100 items that two of them hold.
Block addTree(Store &store, std::span<const Pair> pairs) {
    std::vector<Pair> leaves;
    for (std::size_t at = 0; at < pairs.size(); at += kPairsOfNode) {
        const std::span<const Pair> part = pairs.subspan(at, std::min(kPairsOfNode, pairs.size() - at));
        const bool isLast = at + part.size() == pairs.size();
        const Neighbours neighbours{.next = isLast ? 0 : store.next() + 1, .previous = at == 0 ? 0 : store.next() - 1};
        leaves.push_back({addNode(store, NodeKind::Leaf, part, neighbours, kNodeBytes), part.back().key});
    }
    if (leaves.size() > kPairsOfNode) {
        throw std::runtime_error("there are too many items for one package");
    }
    const Block root =
        leaves.size() == 1 ? leaves.front().first : addNode(store, NodeKind::Inner, leaves, {}, kNodeBytes);
    return addTreeOf(store, root, kNodeBytes, pairs.size());
}

Block addDetails(Store &store, const BomItem &item) {
    constexpr int isFull = 0x000f; // not a list of mere names
    const bool isFolder = S_ISDIR(item.mode);
    const bool isLink = S_ISLNK(item.mode);
    Fields details;
    details.u8(isFolder ? 2 : isLink ? 3 : 1).u8(1).u16(isFull).u16(item.mode).u32(0).u32(0);
    details.u32(item.modified).u32(item.sizeBytes).u8(1);
    if (!isFolder) {
        details.u32(item.checksum.value());
    }
    if (isLink) {
        details.u32(item.linkTarget.size() + 1).text(item.linkTarget).u8(0);
    }
    return store.add(details.zeros(8));
}

struct Placed {
    const BomItem *item;
    std::size_t folder; ///< the number of the folder above; 0 for the outermost
};

// The order of the tree's keys, which are the number of the folder above and the name: a folder's number is its place.
std::vector<Placed> inOrderOfKeys(const std::vector<BomItem> &items) {
    std::map<std::string_view, std::map<std::string_view, const BomItem *>> folders;
    for (const BomItem &item : items) {
        folders[parentPath(item.path)][leafName(item.path)] = &item;
    }
    std::vector<Placed> placed;
    const auto placeAll = [&](std::string_view path, std::size_t number) {
        for (const auto &[name, item] : folders[path]) {
            placed.push_back({item, number});
        }
    };
    placeAll("", 0);
    for (std::size_t i = 0; i < placed.size(); ++i) {
        placeAll(placed[i].item->path, i + 1);
    }
    if (placed.size() != items.size()) {
        throw std::runtime_error("the payload holds an item twice, or without its folder");
    }
    return placed;
}

void addPaths(Store &store, const std::vector<BomItem> &items) {
    std::vector<Pair> pairs;
    for (const auto &[item, folder] : inOrderOfKeys(items)) {
        const Block details = addDetails(store, *item);
        const Block value = store.add(Fields().u32(pairs.size() + 1).u32(details));
        pairs.push_back({value, store.add(Fields().u32(folder).text(leafName(item->path)).u8(0))});
    }
    store.name("Paths", addTree(store, pairs));
}

void addSummary(Store &store, const std::vector<BomItem> &items) {
    const std::uint64_t bytes = totalBytes(items);
    store.name("BomInfo", store.add(Fields().u32(1).u32(items.size() + 1).u32(1).u32(0).u32(0).u32(bytes).u32(0)));
}

} // namespace

std::uint64_t totalBytes(const std::vector<BomItem> &items) {
    std::uint64_t bytes = 0;
    for (const BomItem &item : items) {
        bytes += item.sizeBytes;
    }
    return bytes;
}

std::string bomText(const std::vector<BomItem> &items) {
    Store store;
    addSummary(store, items);
    addPaths(store, items);
    store.name("HLIndex", addEmptyTree(store, kNodeBytes));
    const Block patterns = addEmptyTree(store, kSmallNodeBytes);
    store.name("VIndex", store.add(Fields().u32(1).u32(patterns).u32(0).u8(0)));
    store.name("Size64", addEmptyTree(store, kNodeBytes));
    return store.file();
}

} // namespace kyb::macroot
