#include <fmt/format.h>
#include <safe_mem_lib.h>
#include <safe_str_lib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "platform/PrivateFolder.h"
#include "support/ORVNLogger.h"

namespace {

using platform::PrivateFolder;

constexpr uint64_t kLargestBodyInMemory = 64ULL * 1024 * 1024;
constexpr size_t kPathSize = 1024;
constexpr char kFolder[] = "/tmp/orvane";
constexpr unsigned kSeed = 100000;
constexpr mode_t kFileMode = 0777;

std::string joined(const std::string& folder, const std::string& name) {
    char text[kPathSize] = {};
    strncpy_s(text, sizeof text, folder.c_str(), sizeof text - 1);
    strncat_s(text, sizeof text, name.c_str(), sizeof text - 1 - strnlen_s(text, sizeof text));
    return text;
}

// A name that is taken is used in the first of the numbered folders where it is free.
std::string choosePath(const std::string& fileName) {
    static int folderNumber = 0;
    std::string folderPath = fmt::format("{}/", kFolder);
    const auto top = PrivateFolder::open(kFolder, PrivateFolder::Create::yes);
    if (fileName.empty()) {
        std::srand(kSeed);  // the same numbers each time: names within a second are meant to be equal
        return joined(folderPath, fmt::format("tmp{}{}", std::time(nullptr), std::rand()));
    }
    bool isTaken = top && top->contains(fileName);
    while (isTaken) {
        const std::string name = fmt::format("tmpFolder{}", folderNumber++);
        const auto folder = top->subfolder(name, PrivateFolder::Create::yes);
        folderPath = fmt::format("{}/{}/", kFolder, name);
        isTaken = folder && folder->contains(fileName);
    }
    return joined(folderPath, fileName);
}

struct Place {
    std::optional<PrivateFolder> folder;
    std::string name;
};

// A name that climbs out of the folder does not open.
Place placeOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return {PrivateFolder::open(path.substr(0, slash), PrivateFolder::Create::no), path.substr(slash + 1)};
}

}  // namespace

void CNetworkDownload::OnNewStream(const unsigned char* bytes, unsigned long count) {
    if (!m_bSaveToFile)
        AppendToMemory(bytes, count);
    else if (m_nDataSize == 0)
        BeginFile(bytes, count);
    else
        AppendToFile(bytes, count);
}

void CNetworkDownload::AppendToMemory(const unsigned char* bytes, unsigned long count) {
    const uint64_t before = m_nDataSize;
    m_nDataSize += count;
    if (before != 0 && !m_pData)
        return;  // a body with a gap would be worse than none
    if (m_nDataSize >= dataCapacity_ && !GrowData()) {
        std::free(std::exchange(m_pData, nullptr));
        dataCapacity_ = 0;
        return;
    }
    memmove_s(m_pData + before, count + 1, bytes, count);
    m_pData[m_nDataSize] = '\0';
}

// Grows in large steps, so that a large body is not copied again for each of its chunks.
bool CNetworkDownload::GrowData() {
    if (m_nDataSize > kLargestBodyInMemory)
        return false;
    const size_t size =
        std::min<size_t>(std::max<size_t>(m_nDataSize + 1, 2 * dataCapacity_), kLargestBodyInMemory + 1);
    auto* const grown = static_cast<char*>(std::realloc(m_pData, size));
    if (!grown)
        return false;
    m_pData = grown;
    dataCapacity_ = size;
    return true;
}

void CNetworkDownload::BeginFile(const unsigned char* bytes, unsigned long count) {
    const std::string path = choosePath(m_fileName);
    const Place place = placeOf(path);
    const int handle = place.folder ? place.folder->openEmptyFile(place.name) : -1;
    m_pFile = handle >= 0 ? fdopen(handle, "w") : nullptr;
    if (!m_pFile) {
        if (handle >= 0)
            close(handle);
        logNotice("CNetworkDownload::OnNewStream ,1 fopen file = {} failed!", path);
        return;
    }
    if (!m_pData)
        m_pData = static_cast<char*>(std::calloc(1, kPathSize));
    if (m_pData)
        memcpy_s(m_pData, kPathSize, path.c_str(), path.size() + 1);
    bool written = m_pData && std::fwrite(bytes, 1, count, m_pFile) == count;
    fchmod(handle, kFileMode);  // the folder keeps others out
    written = std::fclose(std::exchange(m_pFile, nullptr)) == 0 && written;
    if (written)
        m_nDataSize += count;
    else
        logWarning("CNetworkDownload::BeginFile,write to {} failed!", path);
}

void CNetworkDownload::AppendToFile(const unsigned char* bytes, unsigned long count) {
    const Place place = placeOf(m_pData);
    const std::string_view chunk(reinterpret_cast<const char*>(bytes), count);
    if (place.folder && place.folder->appendToFile(place.name, chunk))
        m_nDataSize += count;
    else
        logNotice("CNetworkDownload::OnNewStream,2 fopen file = {} failed!", m_pData);
}
