#include "platform/net/HttpConnectionPool.h"

#include <glib.h>

#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/RunLoop.h"

namespace platform {
namespace {

constexpr long kIdleConnections = 8;

GIOCondition conditionOf(int what) {
    int condition = 0;
    if (what == CURL_POLL_IN || what == CURL_POLL_INOUT)
        condition |= G_IO_IN;
    if (what == CURL_POLL_OUT || what == CURL_POLL_INOUT)
        condition |= G_IO_OUT;
    return static_cast<GIOCondition>(condition);
}

int curlEventsOf(GIOCondition condition) {
    int events = 0;
    if ((condition & (G_IO_IN | G_IO_HUP)) != 0)
        events |= CURL_CSELECT_IN;
    if ((condition & G_IO_OUT) != 0)
        events |= CURL_CSELECT_OUT;
    if ((condition & (G_IO_ERR | G_IO_NVAL)) != 0)
        events |= CURL_CSELECT_ERR;
    return events;
}

}  // namespace

// One source watches all sockets, and its ready time is curl's timer.
struct HttpConnectionPool::State {
    struct Source {
        GSource base;
        State* state;
    };

    CURLM* multi = nullptr;
    GSource* source = nullptr;
    std::map<curl_socket_t, gpointer> watched;

    ~State() {
        if (multi)
            curl_multi_cleanup(multi);  // tells watch() about the sockets it closes
        if (source) {
            g_source_destroy(source);
            g_source_unref(source);
        }
    }

    static int watch(CURL* /*handle*/, curl_socket_t socket, int what, void* user, void* /*socketData*/) {
        auto* const self = static_cast<State*>(user);
        const auto known = self->watched.find(socket);
        if (what == CURL_POLL_REMOVE) {
            if (known != self->watched.end()) {
                g_source_remove_unix_fd(self->source, known->second);
                self->watched.erase(known);
            }
        } else if (known != self->watched.end()) {
            g_source_modify_unix_fd(self->source, known->second, conditionOf(what));
        } else {
            self->watched[socket] = g_source_add_unix_fd(self->source, socket, conditionOf(what));
        }
        return 0;
    }

    static int setTimer(CURLM* /*multi*/, long milliseconds, void* user) {
        const auto* const self = static_cast<State*>(user);
        g_source_set_ready_time(self->source,
                                milliseconds < 0 ? -1 : g_get_monotonic_time() + gint64{1000} * milliseconds);
        return 0;
    }

    static gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
        reinterpret_cast<Source*>(source)->state->serve();
        return G_SOURCE_CONTINUE;
    }

    void serve() {
        std::vector<std::pair<curl_socket_t, int>> ready;
        for (const auto& [socket, tag] : watched) {
            if (const int events = curlEventsOf(g_source_query_unix_fd(source, tag)); events != 0)
                ready.emplace_back(socket, events);
        }
        int running = 0;
        const gint64 due = g_source_get_ready_time(source);
        if (due >= 0 && due <= g_get_monotonic_time()) {
            g_source_set_ready_time(source, -1);
            curl_multi_socket_action(multi, CURL_SOCKET_TIMEOUT, 0, &running);
        }
        for (const auto& [socket, events] : ready) {
            if (watched.contains(socket))
                curl_multi_socket_action(multi, socket, events, &running);
        }
        reapEnded();
    }

    void reapEnded() {
        int left = 0;
        while (const CURLMsg* const message = curl_multi_info_read(multi, &left)) {
            if (message->msg != CURLMSG_DONE)
                continue;
            CURL* const handle = message->easy_handle;
            const CURLcode result = message->data.result;
            void* transfer = nullptr;
            curl_easy_getinfo(handle, CURLINFO_PRIVATE, &transfer);
            curl_multi_remove_handle(multi, handle);
            static_cast<Transfer*>(transfer)->transferEnded(result);
        }
    }

    static std::unique_ptr<State> make() {
        static std::once_flag once;
        std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
        static GSourceFuncs functions = {nullptr, nullptr, &dispatch, nullptr, nullptr, nullptr};

        auto state = std::make_unique<State>();
        state->multi = curl_multi_init();
        if (!state->multi)
            return nullptr;
        state->source = g_source_new(&functions, sizeof(Source));
        reinterpret_cast<Source*>(state->source)->state = state.get();
        g_source_set_ready_time(state->source, -1);
        g_source_attach(state->source, RunLoop::current().context());
        curl_multi_setopt(state->multi, CURLMOPT_SOCKETFUNCTION, &watch);
        curl_multi_setopt(state->multi, CURLMOPT_SOCKETDATA, state.get());
        curl_multi_setopt(state->multi, CURLMOPT_TIMERFUNCTION, &setTimer);
        curl_multi_setopt(state->multi, CURLMOPT_TIMERDATA, state.get());
        curl_multi_setopt(state->multi, CURLMOPT_MAXCONNECTS, kIdleConnections);
        return state;
    }
};

HttpConnectionPool::HttpConnectionPool(std::unique_ptr<State> state) : state_(std::move(state)) {}

HttpConnectionPool::~HttpConnectionPool() = default;

std::shared_ptr<HttpConnectionPool> HttpConnectionPool::current() {
    // Before the pool, so that the thread's loop outlives it.
    RunLoop::current();
    thread_local std::shared_ptr<HttpConnectionPool> pool;
    if (!pool) {
        if (auto state = State::make())
            pool.reset(new HttpConnectionPool(std::move(state)));
    }
    return pool;
}

bool HttpConnectionPool::add(CURL* handle) {
    return curl_multi_add_handle(state_->multi, handle) == CURLM_OK;
}

void HttpConnectionPool::remove(CURL* handle) {
    curl_multi_remove_handle(state_->multi, handle);
}

}  // namespace platform
