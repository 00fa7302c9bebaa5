#include "DGAUpload/logic/CFileOperate.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "support/ORVNLogger.h"

namespace {

// A named pipe in the file's place must not hold us up, and a folder has no size that means anything.
FILE* openRegularFile(const std::string& path) {
    const int handle = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (handle < 0)
        return nullptr;
    struct stat state {};
    FILE* file = fstat(handle, &state) == 0 && S_ISREG(state.st_mode) ? fdopen(handle, "r") : nullptr;
    if (file == nullptr)
        close(handle);
    return file;
}

}  // namespace

CFileOperate::CFileOperate() {
    logInfo("CFileOperate::CFileOperate Begin");
}

CFileOperate::~CFileOperate() {
    if (m_pFile != nullptr)
        std::fclose(m_pFile);
    logInfo("~CFileOperate::~~CFileOperate");
}

bool CFileOperate::initialize(const std::string& path) {
    if (m_pFile != nullptr)
        std::fclose(m_pFile);
    m_nFileSize = 0;
    m_pFile = path.empty() ? nullptr : openRegularFile(path);
    if (m_pFile == nullptr || fseeko(m_pFile, 0, SEEK_END) != 0) {
        logWarning("CFileOperate::CFileOperate filepath is empty");
        return false;
    }
    m_nFileSize = std::max<int64_t>(ftello(m_pFile), 0);
    std::rewind(m_pFile);
    logInfo("CFileOperate::initialize fileSize={}", m_nFileSize);
    return true;
}

int32_t CFileOperate::getTotalPiece() {
    // Only the result has 32 bits: a sum would overflow for a file of 2 GiB.
    const int64_t pieces = m_nFileSize / kPieceLength + (m_nFileSize % kPieceLength != 0 ? 1 : 0);
    const auto totalPiece =
        static_cast<int32_t>(std::min<int64_t>(pieces, std::numeric_limits<int32_t>::max()));
    logInfo("CFileOperate::getTotalPiece totalPiece={}", totalPiece);
    return totalPiece;
}

uint64_t CFileOperate::getBlockFromFile(uint32_t length, unsigned char** buffer) {
    if (m_pFile == nullptr || buffer == nullptr || *buffer == nullptr)
        return 0;
    const off_t position = ftello(m_pFile);
    const size_t count = std::fread(*buffer, 1, length, m_pFile);
    fseeko(m_pFile, position, SEEK_SET);
    noteBlock(length, count);
    return count;
}

void CFileOperate::noteBlock(uint32_t length, uint64_t count) {
    const off_t position = ftello(m_pFile);
    logInfo("CFileOperate::getBlockFromFile nBufLen:{}, offset:{}, totalSize:{} \n", count,
            static_cast<int64_t>(position), m_nFileSize);
    fseeko(m_pFile, position + static_cast<off_t>(length), SEEK_SET);
}
