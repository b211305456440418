"""Reads flat packages by the formats' descriptions, and shares nothing with what writes them."""
import gzip
import hashlib
import struct
import xml.etree.ElementTree as ElementTree
import zlib
from collections import namedtuple

# Of a payload or a bill of materials. `content` is a file's content, or a link's target.
Item = namedtuple("Item", "mode uid gid modified content")
Listed = namedtuple("Listed", "mode uid gid modified size checksum target")


def sha1_of(element, data):
    """Whether a checksum that the table of contents gives is that of the data."""
    return element.get("style") == "sha1" and element.text == hashlib.sha1(data).hexdigest()


def xar_members(data):
    """The members of a xar archive, each stored as it is; every length and checksum in it is checked."""
    magic, header, version, packed, unpacked, algorithm = struct.unpack(">4sHHQQL", data[:28])
    assert (magic, header, version, algorithm) == (b"xar!", 28, 1, 1), "header"
    table = data[header:header + packed]
    text = zlib.decompress(table)
    assert len(text) == unpacked, "length of the table of contents"
    heap = data[header + packed:]
    toc = ElementTree.fromstring(text).find("toc")
    assert toc.find("checksum").get("style") == "sha1"
    at, size = (int(toc.find("checksum").findtext(key)) for key in ("offset", "size"))
    assert heap[at:at + size] == hashlib.sha1(table).digest(), "checksum of the table of contents"
    members, end = {}, at + size
    for file in toc.findall("file"):
        entry = file.find("data")
        offset, length, size = (int(entry.findtext(key)) for key in ("offset", "length", "size"))
        content = heap[offset:offset + length]
        assert offset == end and length == size == len(content), "place in the heap"
        assert entry.find("encoding").get("style") == "application/octet-stream"
        assert sha1_of(entry.find("archived-checksum"), content) and sha1_of(entry.find("extracted-checksum"), content)
        assert file.findtext("type") == "file"
        members[file.findtext("name")] = content
        end = offset + length
    assert end == len(heap), "something stands behind the members"
    return members


def cpio_items(packed):
    """The items of a gzip'd cpio archive in the portable ASCII format, in their order."""
    data, at, items, numbers = gzip.decompress(packed), 0, {}, set()
    while True:
        assert data[at:at + 6] == b"070707", "magic"
        fields = [int(data[at + begin:at + begin + width], 8) for begin, width in
                  ((12, 6), (18, 6), (24, 6), (30, 6), (36, 6), (48, 11), (59, 6), (65, 11))]
        number, mode, uid, gid, links, modified, name_size, size = fields
        name = data[at + 76:at + 76 + name_size - 1].decode()
        at += 76 + name_size
        if name == "TRAILER!!!":
            return items
        assert links == 1 and number not in numbers, "an item is taken for a further name of another"
        assert name not in items, "twice: " + name
        numbers.add(number)
        items[name] = Item(mode, uid, gid, modified, data[at:at + size])
        at += size


class Bom:
    """A bill of materials: a store of blocks."""

    def __init__(self, data):
        magic, version, blocks, table, table_size, names, names_size = struct.unpack(">8s6L", data[:32])
        assert (magic, version) == (b"BOMStore", 1) and table + table_size == len(data)
        self.data = data
        count, = self.numbers(data[table:], 1)
        pointers = self.numbers(data[table + 4:], 2 * count)
        self.blocks = list(zip(pointers[::2], pointers[1::2]))
        assert self.blocks[0] == (0, 0) and blocks == count - 1
        assert data[table + 4 + 8 * count:] == bytes(20), "the list of free blocks is empty"
        places = sorted(self.blocks[1:]) + [(names, names_size), (table, table_size)]
        for (place, size), (following, _) in zip(places, places[1:]):
            assert place >= 512 and place + size == following, "blocks overlap, or leave a gap"
        self.names = dict(self.read_names(data[names:names + names_size]))

    @staticmethod
    def numbers(data, count):
        return struct.unpack_from(f">{count}L", data)

    def read_names(self, data):
        count, at = self.numbers(data, 1)[0], 4
        for _ in range(count):
            block, length = struct.unpack_from(">LB", data, at)
            yield data[at + 5:at + 5 + length].decode(), block
            at += 5 + length
        assert at == len(data)

    def block(self, number):
        place, size = self.blocks[number]
        assert number > 0
        return self.data[place:place + size]

    def tree(self, number):
        """The pairs (key, value) of a tree, as blocks; its leaves read by their chain and from above alike."""
        magic, version, root, node_size, count, last = struct.unpack(">4sLLLLB", self.block(number))
        assert (magic, version, last) == (b"tree", 1, 0)
        kind, _, _, pairs = self.node(root, node_size)
        leaves = [leaf for leaf, _ in pairs] if kind == 0 else [root]
        found = []
        for place, leaf in enumerate(leaves):
            kind, following, previous, entries = self.node(leaf, node_size)
            assert kind == 1
            assert following == (leaves + [0])[place + 1] and previous == ([0] + leaves)[place], "chain of leaves"
            assert leaves == [root] or entries[-1][1] == pairs[place][1], "last key of a leaf"
            found += entries
        assert len(found) == count
        return [(self.block(key), self.block(value)) for value, key in found]

    def node(self, number, node_size):
        data = self.block(number)
        assert len(data) == node_size
        kind, count, following, previous = struct.unpack_from(">HHLL", data)
        numbers = self.numbers(data[12:], 2 * count)
        assert not any(data[12 + 8 * count:])
        return kind, following, previous, list(zip(numbers[::2], numbers[1::2]))

    def items(self):
        """What is listed, by its path. Every folder stands before what it holds, and keys are in their order."""
        paths, listed, keys = {0: ""}, {}, []
        for key, value in self.tree(self.names["Paths"]):
            folder, name = self.numbers(key, 1)[0], key[4:].rstrip(b"\0")
            assert key[4:] == name + b"\0"
            keys.append((folder, name))
            number, details = self.numbers(value, 2)
            assert number not in paths
            paths[number] = paths[folder] + ("/" if folder else "") + name.decode()
            listed[paths[number]] = self.details(self.block(details))
        assert keys == sorted(keys) and len(set(keys)) == len(keys)
        version, count, entries, *entry = struct.unpack(">7L", self.block(self.names["BomInfo"]))
        assert (version, count, entries) == (1, len(listed) + 1, 1)
        assert entry == [0, 0, sum(item.size for item in listed.values()), 0]
        return listed

    @staticmethod
    def details(data):
        kind, one, flags, mode, uid, gid, modified, size, another = struct.unpack_from(">BBHHLLLLB", data)
        assert (one, flags, another) == (1, 15, 1)
        assert mode >> 12 == {1: 8, 2: 4, 3: 10}[kind], "type and mode differ"
        rest, checksum, target = data[23:], None, b""
        if kind != 2:
            checksum, rest = struct.unpack(">L", rest[:4])[0], rest[4:]
        if kind == 3:
            length, = struct.unpack(">L", rest[:4])
            target, rest = rest[4:4 + length], rest[4 + length:]
            assert target.endswith(b"\0")
        assert rest == bytes(8)
        return Listed(mode, uid, gid, modified, size, checksum, target[:-1])
