#include "tools/screencapture/PictureFile.h"

#include <fcntl.h>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>

namespace tools {
namespace {

std::FILE* openTarget(const std::string& path) {
    const int file =
        open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0)
        return nullptr;
    struct stat info {};
    errno = 0;
    if (fstat(file, &info) == 0 && S_ISREG(info.st_mode) && info.st_nlink == 1 &&
        fchmod(file, S_IRUSR | S_IWUSR) == 0 && ftruncate(file, 0) == 0) {
        if (std::FILE* stream = fdopen(file, "wb"))
            return stream;
    }
    const int why = errno;
    close(file);
    errno = why != 0 ? why : EEXIST;
    return nullptr;
}

// `write` returns why it failed, or "".
std::string intoTarget(const std::string& path, const std::function<std::string(std::FILE*)>& write) {
    std::FILE* target = openTarget(path);
    if (!target)
        return "cannot write " + path + ": " + std::strerror(errno);
    std::string fault = write(target);
    if (std::fclose(target) != 0 && fault.empty())
        fault = std::strerror(errno);
    if (fault.empty())
        return "";
    unlink(path.c_str());
    return "cannot write " + path + ": " + fault;
}

}  // namespace

std::string writePng(const Picture& picture, const std::string& path) {
    return intoTarget(path, [&picture](std::FILE* target) -> std::string {
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<png_uint_32>(picture.width);
        image.height = static_cast<png_uint_32>(picture.height);
        image.format = PNG_FORMAT_RGB;
        // The user waits for it; screens become hardly larger.
        image.flags = PNG_IMAGE_FLAG_FAST;
        if (png_image_write_to_stdio(&image, target, 0, picture.points.data(), 0, nullptr) != 0)
            return "";
        return static_cast<const char*>(image.message);
    });
}

std::string copyPng(const std::string& from, const std::string& path) {
    std::ifstream source(from, std::ios::binary);
    std::array<char, 65536> buffer{};
    source.read(buffer.data(), 8);
    if (source.gcount() != 8 || png_sig_cmp(reinterpret_cast<png_const_bytep>(buffer.data()), 0, 8) != 0)
        return "the desktop's picture " + from + " is no PNG file";
    return intoTarget(path, [&](std::FILE* target) -> std::string {
        auto count = static_cast<size_t>(source.gcount());
        do {
            if (std::fwrite(buffer.data(), 1, count, target) != count)
                return std::strerror(errno);
            source.read(buffer.data(), buffer.size());
            count = static_cast<size_t>(source.gcount());
        } while (count > 0);
        return source.bad() ? "the desktop's picture " + from + " cannot be read" : "";
    });
}

}  // namespace tools
