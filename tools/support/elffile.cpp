#include "tools/support/elffile.h"

#include <elf.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "slib/filestream.h"

namespace tool {
namespace {

// Far more than any file has; a file that says it has more is read so far.
constexpr std::uint64_t mostSegments = 1024, mostEntries = 4096;
constexpr std::size_t longestText = 4096, mostNames = 1024;

struct Segment {
    std::uint64_t type = 0, offset = 0, address = 0, size = 0;
};

// Where the fields of the two widths lie, in bytes: in the header, in a segment's, in an entry of the dynamic
// one.
struct Fields {
    std::size_t word;  // size of an address
    std::size_t segmentsAt, segmentSizeAt, segmentCountAt;
    std::size_t offsetAt, addressAt, sizeAt;
};

constexpr Fields fieldsOf32{4, 28, 42, 44, 4, 8, 16}, fieldsOf64{8, 32, 54, 56, 8, 16, 32};

class Reader {
public:
    explicit Reader(const std::filesystem::path& path) : stream(path.string()) {}

    // As many bytes as there are.
    std::string Read(std::uint64_t offset, std::size_t size) {
        std::string bytes(size, '\0');
        stream.clear();
        if (offset > INT64_MAX || !stream.seekg(static_cast<std::streamoff>(offset))) return {};
        stream.read(bytes.data(), static_cast<std::streamsize>(size));
        bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
        return bytes;
    }

private:
    slib::InputFile stream;
};

// Little-endian; 0 behind the end.
std::uint64_t Number(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size && at + i < bytes.size(); ++i)
        number |= std::uint64_t{static_cast<unsigned char>(bytes[at + i])} << (8 * i);
    return number;
}

std::vector<Segment> ReadSegments(Reader& reader, const std::string& header, const Fields& fields) {
    const std::uint64_t at = Number(header, fields.segmentsAt, fields.word);
    const std::uint64_t size = Number(header, fields.segmentSizeAt, 2);
    const std::uint64_t count = std::min(Number(header, fields.segmentCountAt, 2), mostSegments);
    std::vector<Segment> segments;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::string bytes = reader.Read(at + i * size, fields.sizeAt + fields.word);
        segments.push_back({Number(bytes, 0, 4), Number(bytes, fields.offsetAt, fields.word),
                            Number(bytes, fields.addressAt, fields.word),
                            Number(bytes, fields.sizeAt, fields.word)});
    }
    return segments;
}

// The place in the file of what is loaded to an address.
std::optional<std::uint64_t> OffsetOf(std::uint64_t address, const std::vector<Segment>& segments) {
    for (const Segment& segment : segments)
        if (segment.type == PT_LOAD && address >= segment.address && address - segment.address < segment.size)
            return segment.offset + (address - segment.address);
    return std::nullopt;
}

// The list of what the loader is to know, tag by tag.
class DynamicSegment {
public:
    DynamicSegment(Reader& reader, const std::vector<Segment>& segments, const Fields& fields)
        : reader(reader) {
        const auto found = std::ranges::find(segments, std::uint64_t{PT_DYNAMIC}, &Segment::type);
        if (found == segments.end()) return;
        const std::size_t size = 2 * fields.word;
        const std::string bytes =
            reader.Read(found->offset, static_cast<std::size_t>(std::min(found->size, mostEntries * size)));
        for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
            entries.push_back({Number(bytes, at, fields.word), Number(bytes, at + fields.word, fields.word)});
            if (entries.back().tag == DT_NULL) break;
        }
        for (const Entry& entry : entries)
            if (entry.tag == DT_STRTAB) texts = OffsetOf(entry.value, segments);
    }

    std::vector<std::string> TextsOf(std::uint64_t tag) const {
        std::vector<std::string> found;
        for (const Entry& entry : entries)
            if (entry.tag == tag && texts && found.size() < mostNames) {
                const std::string text = reader.Read(*texts + entry.value, longestText);
                found.emplace_back(text.c_str());
            }
        return found;
    }

private:
    struct Entry {
        std::uint64_t tag, value;
    };

    Reader& reader;
    std::vector<Entry> entries;
    std::optional<std::uint64_t> texts;
};

std::vector<std::string> Split(const std::vector<std::string>& lists) {
    std::vector<std::string> parts;
    for (const std::string& list : lists)
        for (std::size_t at = 0; at <= list.size();) {
            const std::size_t end = std::min(list.find(':', at), list.size());
            parts.push_back(list.substr(at, end - at));
            at = end + 1;
        }
    return parts;
}

}  // namespace

std::optional<ElfFile> ReadElfFile(const std::filesystem::path& file) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) return std::nullopt;  // reading a pipe would wait
    Reader reader(file);
    const std::string header = reader.Read(0, sizeof(Elf64_Ehdr));
    if (header.size() < sizeof(Elf32_Ehdr) || !header.starts_with(ELFMAG)) return std::nullopt;
    const char width = header[EI_CLASS];
    if ((width != ELFCLASS32 && width != ELFCLASS64) || header[EI_DATA] != ELFDATA2LSB) return std::nullopt;
    const Fields& fields = width == ELFCLASS32 ? fieldsOf32 : fieldsOf64;
    const DynamicSegment dynamic(reader, ReadSegments(reader, header, fields), fields);
    ElfFile found{.bits = width == ELFCLASS32 ? 32 : 64, .name = {}, .needed = {}, .searchPath = {}};
    for (const std::string& name : dynamic.TextsOf(DT_SONAME))
        found.name = name;
    found.needed = dynamic.TextsOf(DT_NEEDED);
    found.searchPath = Split(dynamic.TextsOf(DT_RUNPATH));
    if (!found.searchPath.empty()) return found;
    found.searchPath = Split(dynamic.TextsOf(DT_RPATH));
    found.isAheadOfEnvironment = !found.searchPath.empty();
    return found;
}

}  // namespace tool
