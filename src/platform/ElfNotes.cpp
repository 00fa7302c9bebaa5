#include "platform/ElfNotes.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace platform {
namespace {

constexpr size_t kMostHeaders = 256;
constexpr size_t kLongestNotes = size_t{64} * 1024;
constexpr size_t kLongestBuildId = 64;
// The package note of systemd.io/ELF_PACKAGE_METADATA: a JSON object.
constexpr uint32_t kPackageNote = 0xcafe1a7e;
constexpr unsigned char kOurClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

struct NoteHeader {
    uint32_t nameSize;
    uint32_t textSize;
    uint32_t type;
};

template <typename Value>
bool readAt(int file, Value* values, size_t count, off_t offset) {
    const size_t size = count * sizeof(Value);
    return pread(file, values, size, offset) == static_cast<ssize_t>(size);
}

std::string hex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes.substr(0, kLongestBuildId)) {
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4U];
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) & 15U];
    }
    return text;
}

// The text member of a flat JSON object, where it has no escapes.
std::string textMember(std::string_view json, std::string_view name) {
    size_t at = json.find('"' + std::string(name) + '"');
    at = at == std::string_view::npos ? at : json.find(':', at);
    at = at == std::string_view::npos ? at : json.find('"', at);
    if (at == std::string_view::npos)
        return {};
    const std::string_view rest = json.substr(at + 1);
    const std::string_view text = rest.substr(0, rest.find('"'));
    return text.size() == rest.size() || text.find('\\') != std::string_view::npos ? "" : std::string(text);
}

void readNotes(std::string_view notes, size_t alignment, ElfNotes& found) {
    const auto padded = [alignment](size_t size) { return (size + alignment - 1) / alignment * alignment; };
    NoteHeader header{};
    while (notes.size() >= sizeof header) {
        std::memcpy(&header, notes.data(), sizeof header);
        notes.remove_prefix(sizeof header);
        if (header.nameSize > notes.size() || padded(header.nameSize) > notes.size() ||
            header.textSize > notes.size() - padded(header.nameSize))
            return;
        const std::string_view name = notes.substr(0, header.nameSize);
        const std::string_view text = notes.substr(padded(header.nameSize), header.textSize);
        if (header.type == NT_GNU_BUILD_ID && name.starts_with("GNU"))
            found.buildId = hex(text);
        else if (header.type == kPackageNote && name.starts_with("FDO"))
            found.version = textMember(text, "version");
        notes.remove_prefix(std::min(notes.size(), padded(header.nameSize) + padded(header.textSize)));
    }
}

std::optional<ElfNotes> notesOf(int file) {
    struct stat info {};
    ElfW(Ehdr) elf{};
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode) || !readAt(file, &elf, 1, 0) ||
        std::memcmp(elf.e_ident, ELFMAG, SELFMAG) != 0 || elf.e_ident[EI_CLASS] != kOurClass ||
        elf.e_phentsize != sizeof(ElfW(Phdr)) || elf.e_phnum > kMostHeaders)
        return std::nullopt;
    std::vector<ElfW(Phdr)> segments(elf.e_phnum);
    if (!readAt(file, segments.data(), segments.size(), static_cast<off_t>(elf.e_phoff)))
        return std::nullopt;
    ElfNotes found;
    for (const auto& segment : segments) {
        if (segment.p_type != PT_NOTE || segment.p_filesz > kLongestNotes)
            continue;
        std::string notes(segment.p_filesz, '\0');
        if (readAt(file, notes.data(), notes.size(), static_cast<off_t>(segment.p_offset)))
            readNotes(notes, segment.p_align == 8 ? 8 : 4, found);
    }
    return found;
}

}  // namespace

std::optional<ElfNotes> ElfNotes::ofFile(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return std::nullopt;
    auto notes = notesOf(file);
    close(file);
    return notes;
}

}  // namespace platform
