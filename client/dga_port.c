#define _GNU_SOURCE
#include "dga_port.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdint.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include "orvane_dga_types.h"

#define PORT_BASE_NAME "com.tellan.orvane.orvanedga"
#define HEADER_SIZE 8
#define RETRY_INTERVAL_US 5000
#define DEFAULT_TIMEOUT_MS 5000

struct DgaPort {
    GMutex lock;      /* one message at a time; guards what follows */
    char** folders;   /* where the port can be, best first */
    int fd;           /* -1 while not connected */
    GError* failure;  /* why the port is not usable any more */
    guint timeout_ms; /* atomic, outside the lock */
    DgaEvents* events;
    GThread* reader; /* of what the assistant says; NULL before it is connected, and without events */
    int stop_fd;     /* readable when the reader shall end */
};

/* What the reader holds. */
typedef struct {
    int fd;
    int stop_fd;
    DgaEvents* events;
} Reading;

#define LONGEST_TOLD 65536

/* FALSE at the end of the stream, or when the reader shall end. */
static gboolean read_all(const Reading* reading, char* bytes, size_t length) {
    while (length > 0) {
        struct pollfd waiting[2] = {{.fd = reading->fd, .events = POLLIN},
                                    {.fd = reading->stop_fd, .events = POLLIN}};
        if (poll(waiting, G_N_ELEMENTS(waiting), -1) < 0 && errno != EINTR) {
            return FALSE;
        }
        if (waiting[1].revents != 0) {
            return FALSE;
        }
        const ssize_t count = read(reading->fd, bytes, length);
        if (count > 0) {
            bytes += count;
            length -= (size_t)count;
        } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            return FALSE;
        }
    }
    return TRUE;
}

static void* read_frames(void* data) {
    Reading* reading = data;
    guint32 header[2];
    while (read_all(reading, (char*)header, sizeof header)) {
        const guint32 length = GUINT32_FROM_LE(header[1]);
        char* text = length <= LONGEST_TOLD ? g_malloc0(length + 1) : NULL;
        const gboolean whole = text != NULL && read_all(reading, text, length);
        if (whole && g_utf8_validate(text, -1, NULL)) {
            dga_events_add_frame(reading->events, (gint32)GUINT32_FROM_LE(header[0]), text);
        }
        g_free(text);
        if (!whole) {
            break;
        }
    }
    close(reading->fd);
    dga_events_unref(reading->events);
    g_free(reading);
    return NULL;
}

/* Once, with the first connection. */
static void start_reading(DgaPort* port) {
    if (port->events == NULL || port->reader != NULL || port->stop_fd < 0) {
        return;
    }
    Reading* reading = g_new0(Reading, 1);
    reading->fd = fcntl(port->fd, F_DUPFD_CLOEXEC, 0);
    reading->stop_fd = port->stop_fd;
    reading->events = dga_events_ref(port->events);
    port->reader = g_thread_new("orvane-dga-port", read_frames, reading);
}

static char** runtime_folders(void) {
    GPtrArray* folders = g_ptr_array_new();
    const char* given = g_getenv("XDG_RUNTIME_DIR");
    if (given != NULL && given[0] == '/') {
        g_ptr_array_add(folders, g_strdup(given));
    }
    g_ptr_array_add(folders, g_strdup_printf("/run/user/%u", (unsigned)getuid()));
    g_ptr_array_add(folders, g_strdup_printf("/tmp/com.tellan.orvane.%u", (unsigned)getuid()));
    g_ptr_array_add(folders, NULL);
    return (char**)g_ptr_array_free(folders, FALSE);
}

DgaPort* dga_port_new(DgaEvents* events) {
    DgaPort* port = g_new0(DgaPort, 1);
    g_mutex_init(&port->lock);
    port->folders = runtime_folders();
    port->fd = -1;
    port->events = events;
    port->stop_fd = events != NULL ? eventfd(0, EFD_CLOEXEC) : -1;
    port->timeout_ms = DEFAULT_TIMEOUT_MS;
    return port;
}

void dga_port_free(DgaPort* port) {
    if (port->reader != NULL) {
        eventfd_write(port->stop_fd, 1);
        g_thread_join(port->reader);
    }
    if (port->stop_fd >= 0) {
        close(port->stop_fd);
    }
    if (port->fd >= 0) {
        close(port->fd);
    }
    g_strfreev(port->folders);
    g_clear_error(&port->failure);
    g_mutex_clear(&port->lock);
    g_free(port);
}

void dga_port_set_timeout(DgaPort* port, guint timeout_ms) {
    g_atomic_int_set(&port->timeout_ms, timeout_ms);
}

/* Opens a folder that nobody but the user can put a socket into; -1 with errno otherwise. */
static int open_own_folder(const char* path) {
    const int folder = open(path, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status;
    if (folder < 0) {
        return -1;
    }
    if (fstat(folder, &status) != 0 || status.st_uid != getuid() ||
        (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        close(folder);
        errno = EACCES;
        return -1;
    }
    return folder;
}

/* Connects through the open folder, so that the length of its path does not matter. */
static int connect_in(const char* folder_path, GPid pid) {
    const int folder = open_own_folder(folder_path);
    if (folder < 0) {
        return -1;
    }
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    g_snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s.%d", folder, PORT_BASE_NAME,
               (int)pid);
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    struct ucred peer;
    socklen_t peer_size = sizeof peer;
    int reason = 0;
    if (fd < 0 || connect(fd, (const struct sockaddr*)&address, sizeof address) != 0 ||
        getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &peer_size) != 0) {
        reason = errno;
    } else if (peer.uid != getuid()) {
        reason = EACCES;
    }
    close(folder);
    if (reason != 0 && fd >= 0) {
        close(fd);
        fd = -1;
    }
    errno = reason;
    return fd;
}

/* The reason of the first folder is the one worth telling, unless only a later one got further than
 * "there is nothing". */
static int connect_anywhere(const DgaPort* port, GPid pid) {
    int reason = ENOENT;
    for (char** folder = port->folders; *folder != NULL; folder++) {
        const int fd = connect_in(*folder, pid);
        if (fd >= 0) {
            return fd;
        }
        if (reason == ENOENT) {
            reason = errno;
        }
    }
    errno = reason;
    return -1;
}

static gboolean connect_port(DgaPort* port, GPid pid, gboolean (*alive)(void*), void* data, GError** error) {
    const gint64 deadline = g_get_monotonic_time() + (gint64)g_atomic_int_get(&port->timeout_ms) * 1000;
    for (;;) {
        const gboolean lives = alive(data); /* asked first: the port of one that ended is not awaited */
        port->fd = connect_anywhere(port, pid);
        if (port->fd >= 0) {
            start_reading(port);
            return TRUE;
        }
        const int reason = errno;
        if (!lives || g_get_monotonic_time() >= deadline) {
            g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_PORT,
                        "the message port %s.%d in %s could not be reached: %s", PORT_BASE_NAME, (int)pid,
                        port->folders[0], lives ? g_strerror(reason) : "the assistant has ended");
            return FALSE;
        }
        g_usleep(RETRY_INTERVAL_US);
    }
}

/* Waits until the socket takes bytes again. */
static gboolean wait_writable(const DgaPort* port, GError** error) {
    const guint timeout_ms = (guint)g_atomic_int_get(&port->timeout_ms);
    const gint64 deadline = g_get_monotonic_time() + (gint64)timeout_ms * 1000;
    for (;;) {
        struct pollfd waiting = {.fd = port->fd, .events = POLLOUT};
        const gint64 left_us = MAX(deadline - g_get_monotonic_time(), 0);
        const int count = poll(&waiting, 1, (int)MIN((left_us + 999) / 1000, G_MAXINT));
        if (count > 0) {
            return TRUE;
        }
        if (count == 0) {
            g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_PORT,
                        "the assistant has read nothing from its message port for %u ms", timeout_ms);
            return FALSE;
        }
        if (errno != EINTR) {
            g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_PORT, "waiting for the message port: %s",
                        g_strerror(errno));
            return FALSE;
        }
    }
}

/* Drops the first `count` bytes of the parts. */
static void advance(struct msghdr* message, size_t count) {
    while (message->msg_iovlen > 0 && count >= message->msg_iov->iov_len) {
        count -= message->msg_iov->iov_len;
        message->msg_iov++;
        message->msg_iovlen--;
    }
    if (message->msg_iovlen > 0) {
        message->msg_iov->iov_base = (char*)message->msg_iov->iov_base + count;
        message->msg_iov->iov_len -= count;
    }
}

static gboolean write_all(DgaPort* port, struct msghdr* message, GError** error) {
    while (message->msg_iovlen > 0) {
        const ssize_t count = sendmsg(port->fd, message, MSG_NOSIGNAL);
        if (count >= 0) {
            advance(message, (size_t)count);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!wait_writable(port, error)) {
                return FALSE;
            }
        } else if (errno == EPIPE || errno == ECONNRESET) {
            g_set_error_literal(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_PORT,
                                "the assistant has closed the message port");
            return FALSE;
        } else if (errno != EINTR) {
            g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_PORT, "writing to the message port: %s",
                        g_strerror(errno));
            return FALSE;
        }
    }
    return TRUE;
}

static gboolean write_frame(DgaPort* port, gint32 id, const char* text, size_t length, GError** error) {
    const guint32 header[2] = {GUINT32_TO_LE((guint32)id), GUINT32_TO_LE((guint32)length)};
    G_STATIC_ASSERT(sizeof header == HEADER_SIZE);
    struct iovec parts[2] = {
        {.iov_base = (void*)(uintptr_t)header, .iov_len = sizeof header},
        {.iov_base = (void*)(uintptr_t)text, .iov_len = length},
    };
    struct msghdr message = {.msg_iov = parts, .msg_iovlen = G_N_ELEMENTS(parts)};
    return write_all(port, &message, error);
}

gboolean dga_port_try_connect(DgaPort* port, GPid pid) {
    g_mutex_lock(&port->lock);
    if (port->fd < 0 && port->failure == NULL) {
        port->fd = connect_anywhere(port, pid);
        if (port->fd >= 0) {
            start_reading(port);
        }
    }
    const gboolean connected = port->fd >= 0;
    g_mutex_unlock(&port->lock);
    return connected;
}

gboolean dga_port_send(DgaPort* port, GPid pid, gint32 id, const char* text, gboolean (*alive)(void*),
                       void* data, GError** error) {
    const size_t length = strlen(text);
    if (length > ORVANE_DGA_MESSAGE_MAX) {
        g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_TOO_LONG,
                    "a message of %zu bytes is longer than %d", length, ORVANE_DGA_MESSAGE_MAX);
        return FALSE;
    }
    if (!g_utf8_validate(text, (gssize)length, NULL)) {
        g_set_error_literal(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_TEXT, "a message is not UTF-8");
        return FALSE;
    }
    g_mutex_lock(&port->lock);
    if (port->failure == NULL && port->fd < 0) {
        connect_port(port, pid, alive, data, &port->failure);
    }
    if (port->failure == NULL && !write_frame(port, id, text, length, &port->failure)) {
        close(port->fd);
        port->fd = -1;
    }
    const gboolean sent = port->failure == NULL;
    if (!sent && error != NULL) {
        *error = g_error_copy(port->failure);
    }
    g_mutex_unlock(&port->lock);
    return sent;
}
