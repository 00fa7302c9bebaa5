#include "reportproblem/ZipListing.h"

#include <algorithm>
#include <fstream>
#include <string_view>

namespace {

constexpr std::streamoff kEndLength = 22;
constexpr std::streamoff kLongestComment = 65535;
constexpr size_t kEntryLength = 46;
constexpr uint32_t kNeeds64Bits = 0xFFFFFFFF;
constexpr std::string_view kEndMark("PK\5\6", 4);
constexpr std::string_view kEntryMark("PK\1\2", 4);

// A number of so many bytes, the lowest first.
uint32_t numberAt(std::string_view bytes, size_t at, size_t length) {
    uint32_t number = 0;
    for (size_t i = length; i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
    return number;
}

std::string bytesAt(std::ifstream& file, std::streamoff begin, std::streamoff length) {
    std::string bytes(static_cast<size_t>(length), '\0');
    file.seekg(begin);
    file.read(bytes.data(), length);
    bytes.resize(static_cast<size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    return bytes;
}

}  // namespace

std::optional<std::vector<ZipEntry>> listZip(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : 0;
    const std::streamoff tailLength = std::min(size, kEndLength + kLongestComment);
    const std::string tail = bytesAt(file, size - tailLength, tailLength);
    const size_t end = tail.rfind(kEndMark);
    if (end == std::string::npos || end + kEndLength > tail.size())
        return std::nullopt;
    const std::streamoff length = numberAt(tail, end + 12, 4);
    const std::streamoff begin = numberAt(tail, end + 16, 4);
    if (begin == kNeeds64Bits || length > size || begin > size - length)
        return std::nullopt;
    file.clear();
    const std::string directory = bytesAt(file, begin, length);
    std::vector<ZipEntry> entries;
    for (size_t at = 0; at < directory.size();) {
        if (at + kEntryLength > directory.size() || directory.compare(at, kEntryMark.size(), kEntryMark) != 0)
            return std::nullopt;
        const size_t nameLength = numberAt(directory, at + 28, 2);
        const size_t restLength = numberAt(directory, at + 30, 2) + numberAt(directory, at + 32, 2);
        const uint32_t entrySize = numberAt(directory, at + 24, 4);
        at += kEntryLength;
        if (at + nameLength + restLength > directory.size())
            return std::nullopt;
        entries.push_back({directory.substr(at, nameLength), entrySize});
        at += nameLength + restLength;
    }
    return entries;
}
