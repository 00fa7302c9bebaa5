// The upload of an archive of 25 MB beside curl, which posts the same bodies over one kept connection: at no
// round trip time and at 50 ms, turn by turn; once with bodies that are ready in memory, once reading and
// encoding each piece when its turn comes, as the upload must. Then what the upload needs in memory.
//
//     upload_bench [ROUNDS]
//
// The server is a process of its own that only reads and answers. Run through scripts/isolated: it writes to
// /tmp.
#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "DGAUpload/logic/CTraceUpload.h"
#include "platform/RunLoop.h"
#include "support/Base64.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr size_t kArchive = 25'000'000;
constexpr char kArchivePath[] = "/tmp/upload-bench.zip";
constexpr char kBodiesPath[] = "/tmp/upload-bench.bodies";
constexpr char kReply[] =
    "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 106\r\n\r\n"
    "<?xml version=\"1.0\"?>\n<Reply>\n<Status>SUCCESS</Status>\n<ExceedFileNumber>false</ExceedFileNumber>"
    "\n</Reply>";

int listenOn(uint16_t& port) {
    const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(handle, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(handle, 16) != 0)
        std::exit(1);
    getsockname(handle, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
    return handle;
}

void setNoDelay(int handle) {
    const int on = 1;
    setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void writeAll(int handle, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t written = write(handle, bytes, count);
        if (written <= 0)
            return;
        bytes += written;
        count -= static_cast<size_t>(written);
    }
}

/// Answers one connection; keeps the bodies if `record` is open.
void answer(int handle, FILE* record) {
    setNoDelay(handle);
    std::string input;
    std::vector<char> part(1 << 18);
    while (true) {
        size_t end = std::string::npos;
        size_t whole = 0;
        while ((end = input.find("\r\n\r\n")) == std::string::npos || input.size() < whole) {
            const ssize_t count = read(handle, part.data(), part.size());
            if (count <= 0)
                return;
            input.append(part.data(), static_cast<size_t>(count));
            if (whole == 0 && (end = input.find("\r\n\r\n")) != std::string::npos) {
                const size_t named = input.find("Content-Length:");
                whole = end + 4 + (named < end ? std::strtoul(input.c_str() + named + 15, nullptr, 10) : 0);
            }
        }
        if (record != nullptr && whole > end + 4) {
            const size_t length = whole - end - 4;
            std::fwrite(&length, sizeof length, 1, record);
            std::fwrite(input.data() + end + 4, 1, length, record);
            std::fflush(record);
        }
        input.erase(0, std::max(whole, end + 4));
        writeAll(handle, kReply, sizeof kReply - 1);
    }
}

/// One direction of the relay: what is read is written so much later.
void forward(int from, int to, std::chrono::milliseconds delay) {
    struct Part {
        Clock::time_point due;
        std::string bytes;  // empty: the end
    };
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Part> parts;
    std::thread writer([&] {
        while (true) {
            std::unique_lock<std::mutex> hold(mutex);
            changed.wait(hold, [&] { return !parts.empty(); });
            const Part part = std::move(parts.front());
            parts.pop_front();
            hold.unlock();
            std::this_thread::sleep_until(part.due);
            if (part.bytes.empty())
                break;
            writeAll(to, part.bytes.data(), part.bytes.size());
        }
        shutdown(to, SHUT_WR);
    });
    std::vector<char> buffer(1 << 18);
    ssize_t count = 0;
    do {
        count = std::max<ssize_t>(read(from, buffer.data(), buffer.size()), 0);
        const std::lock_guard<std::mutex> hold(mutex);
        parts.push_back({Clock::now() + delay, std::string(buffer.data(), static_cast<size_t>(count))});
        changed.notify_one();
    } while (count > 0);
    writer.join();
}

/// A process that serves every connection to a new port on a thread of its own.
class Child {
public:
    explicit Child(const std::function<void(int)>& serve) {
        const int handle = listenOn(m_port);
        m_process = fork();
        if (m_process == 0) {
            while (true) {
                const int connection = accept(handle, nullptr, nullptr);
                std::thread([serve, connection] {
                    serve(connection);
                    close(connection);
                }).detach();
            }
        }
        close(handle);
    }
    ~Child() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    uint16_t port() const { return m_port; }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port) + "/up?siteid=1"; }

private:
    uint16_t m_port = 0;
    pid_t m_process = -1;
};

void relay(int handle, uint16_t port, std::chrono::milliseconds delay) {
    const int server = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(server, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        return;
    setNoDelay(handle);
    setNoDelay(server);
    std::thread back([=] { forward(server, handle, delay); });
    forward(handle, server, delay);
    back.join();
    close(server);
}

double seconds(const std::function<void()>& call) {
    const auto start = Clock::now();
    call();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void ours(const std::string& url) {
    CTraceUpload uploader;
    uploader.setConferenceName("Weekly");
    uploader.setUserName("bench");
    uploader.setUserComment("An archive of 25 MB.");
    uploader.setFileName("upload-bench");
    uploader.preparingReport(url, kArchivePath);
    uploader.queryAndUploadToSever();
    platform::Timer watch(platform::RunLoop::main(), 1ms, true, [&] {
        if (uploader.m_status != 10 && uploader.m_status != 15 && uploader.m_status != 17)
            platform::RunLoop::main().stop();
    });
    platform::RunLoop::main().run();
    if (uploader.m_status != 19) {
        std::printf("the upload failed with status %d\n", uploader.m_status.load());
        std::exit(1);
    }
}

/// A body of the recorded ones, its piece read and encoded anew.
std::string madeAgain(const std::string& recorded, FILE* archive) {
    std::vector<unsigned char> piece(122880);
    const size_t length = std::fread(piece.data(), 1, piece.size(), archive);
    std::string body = recorded.substr(0, recorded.find(';') + 1);
    const size_t begin = body.size();
    body.resize(begin + static_cast<size_t>(support::GetBase64EncodeSize(static_cast<int>(length))));
    support::Base64Encode(body.data() + begin, piece.data(), static_cast<int>(length));
    return body;
}

void curls(const std::string& url, const std::vector<std::string>& bodies, bool ready) {
    CURL* curl = curl_easy_init();
    curl_slist* headers = curl_slist_append(nullptr, "Content-Type: multipart/form-data");
    headers = curl_slist_append(headers, "Expect:");
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(
        curl, CURLOPT_WRITEFUNCTION,
        +[](const char*, size_t size, size_t count, void*) { return size * count; });
    curl_easy_setopt(curl, CURLOPT_URL, (url + "&AT=QW").c_str());
    CURLcode result = curl_easy_perform(curl);
    curl_easy_setopt(curl, CURLOPT_URL, (url + "&AT=UL").c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    FILE* const archive = std::fopen(kArchivePath, "rb");
    for (const auto& recorded : bodies) {
        const std::string made = ready ? std::string() : madeAgain(recorded, archive);
        const std::string& body = ready ? recorded : made;
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.data());
        result = result == CURLE_OK ? curl_easy_perform(curl) : result;
    }
    if (result != CURLE_OK) {
        std::printf("curl failed: %s\n", curl_easy_strerror(result));
        std::exit(1);
    }
    std::fclose(archive);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

void compare(const char* name, const std::string& url, const std::vector<std::string>& bodies, int rounds) {
    std::vector<double> mine;
    std::vector<double> ready;
    std::vector<double> made;
    for (int i = 0; i < rounds; ++i) {
        mine.push_back(seconds([&] { ours(url); }));
        ready.push_back(seconds([&] { curls(url, bodies, true); }));
        made.push_back(seconds([&] { curls(url, bodies, false); }));
    }
    const double a = median(mine);
    const double b = median(ready);
    const double c = median(made);
    std::printf("%-24s upload %.3f s (medians of %d)\n", name, a, rounds);
    std::printf("    curl, bodies ready       %.3f s, times_curl %.3f\n", b, a / b);
    std::printf("    curl, bodies made        %.3f s, times_curl %.3f\n", c, a / c);
    std::fflush(stdout);
}

/// A line of /proc/self/status, in kB.
long memory(const char* key) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key))
            return std::strtol(line.c_str() + line.find(':') + 1, nullptr, 10);
    }
    return 0;
}

void writeArchive(size_t size) {
    std::mt19937 random(1);
    std::string bytes(size, '\0');
    for (char& c : bytes)
        c = static_cast<char>(random());
    std::ofstream(kArchivePath, std::ios::binary) << bytes;
}

void measureMemory(const std::string& url) {
    writeArchive(2 * 122880);
    ours(url);
    const long before = memory("VmRSS");
    for (const size_t size : {2 * 122880UL, kArchive}) {
        writeArchive(size);
        std::ofstream("/proc/self/clear_refs") << "5";
        ours(url);
        std::printf("memory: %8zu bytes, peak %+ld kB over %ld kB\n", size, memory("VmHWM") - before, before);
    }
    std::fflush(stdout);
}

std::vector<std::string> recordedBodies() {
    std::vector<std::string> bodies;
    std::ifstream file(kBodiesPath, std::ios::binary);
    for (size_t length = 0; file.read(reinterpret_cast<char*>(&length), sizeof length);) {
        bodies.emplace_back(length, '\0');
        file.read(bodies.back().data(), static_cast<std::streamsize>(length));
    }
    return bodies;
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    const int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 9;
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const Child server([](int handle) { answer(handle, nullptr); });
    const Child far([&](int handle) { relay(handle, server.port(), 25ms); });
    measureMemory(server.url());
    {
        const Child recorder([](int handle) { answer(handle, std::fopen(kBodiesPath, "ab")); });
        ours(recorder.url());
    }
    const auto bodies = recordedBodies();
    std::printf("%zu bodies\n", bodies.size());
    compare("at no round trip time:", server.url(), bodies, rounds);
    compare("at 50 ms:", far.url(), bodies, std::clamp(rounds / 10, 1, 3));
    return 0;
}
