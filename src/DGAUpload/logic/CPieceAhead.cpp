#include "DGAUpload/logic/CPieceAhead.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "DGAUpload/logic/CFileOperate.h"
#include "platform/WorkQueue.h"
#include "support/Base64.h"

// Shared with the thread that works, which may outlive the upload.
struct CPieceAhead::Work {
    int handle;
    Describe describe;
    std::vector<unsigned char> bytes = std::vector<unsigned char>(CFileOperate::kPieceLength);
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Piece> made;

    Work(const std::string& path, Describe with)
        : handle(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)), describe(std::move(with)) {}
    ~Work() {
        if (handle >= 0)
            close(handle);
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    size_t read(uint32_t number) {
        const auto begin = static_cast<off_t>(number - 1) * CFileOperate::kPieceLength;
        size_t length = 0;
        while (length < bytes.size()) {
            const ssize_t count = pread(handle, bytes.data() + length, bytes.size() - length,
                                        begin + static_cast<off_t>(length));
            if (count <= 0)
                break;
            length += static_cast<size_t>(count);
        }
        return length;
    }

    void make(uint32_t number) {
        Piece piece;
        piece.length = read(number);
        const int length = static_cast<int>(piece.length);
        piece.body = describe(number, piece.length) + ";";
        const size_t begin = piece.body.size();
        piece.body.resize(begin + static_cast<size_t>(support::GetBase64EncodeSize(length)));
        piece.encoded = support::Base64Encode(piece.body.data() + begin, bytes.data(), length);
        const std::lock_guard<std::mutex> hold(mutex);
        made = std::move(piece);
        changed.notify_all();
    }
};

CPieceAhead::CPieceAhead(const std::string& path, Describe describe)
    : work_(std::make_shared<Work>(path, std::move(describe))) {}

void CPieceAhead::prepare(uint32_t number) {
    if (std::exchange(number_, number) == number)
        return;
    platform::BackgroundQueue::global().async([work = work_, number] { work->make(number); });
}

CPieceAhead::Piece CPieceAhead::take(uint32_t number) {
    prepare(number);
    std::unique_lock<std::mutex> hold(work_->mutex);
    work_->changed.wait(hold, [this] { return work_->made.has_value(); });
    Piece piece = std::move(*work_->made);
    work_->made.reset();
    return piece;
}
