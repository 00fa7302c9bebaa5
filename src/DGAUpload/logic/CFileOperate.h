#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

/// Reads a file piece by piece. One thread at a time.
class CFileOperate {
public:
    /// The size of a piece in bytes; the last piece of a file is as long as what remains.
    static constexpr uint32_t kPieceLength = 122880;

    CFileOperate();
    virtual ~CFileOperate();
    CFileOperate(const CFileOperate&) = delete;
    CFileOperate& operator=(const CFileOperate&) = delete;

    /// Opens the file. False if it cannot be opened or is not a regular file.
    bool initialize(const std::string& path);

    /// In bytes; 0 without a file.
    int64_t fileSize() const { return m_nFileSize; }

    /// How many pieces the file has; 0 without a file.
    int32_t getTotalPiece();

    /// Reads the next `length` bytes, fewer at the end, into `*buffer`, and returns how many it got. The
    /// next call reads `length` bytes further on, however few these were.
    uint64_t getBlockFromFile(uint32_t length, unsigned char** buffer);

    /// Passes over a block of `length` bytes, of which somebody else has read `count`; logged as if it were
    /// read here.
    void noteBlock(uint32_t length, uint64_t count);

private:
    FILE* m_pFile = nullptr;
    int64_t m_nFileSize = 0;
};
