#include "dga_events.h"

#include <pthread.h>
#include <string.h>

/* A client that is stuck in its callback is told no more than these. */
#define MOST_WAITING 256

#define READY_ID 0x4F564481
#define REPORT_RESULT_ID 0x4F564482

typedef struct {
    OrvaneDgaEventKind kind;
    int protocol;
    char* texts[3]; /* version; or number, state and reason */
} Event;

struct DgaEvents {
    gint holders;         /* atomic */
    pthread_mutex_t lock; /* guards the next three */
    pthread_cond_t changed;
    GQueue waiting; /* of Event */
    gboolean ends;
    int protocol;
    char* version;
    pthread_mutex_t calling; /* held while the callback runs; guards the next two */
    OrvaneDgaCallback callback;
    void* data;
    GThread* thread; /* of the callback; the one who sets it owns it */
};

static void event_free(void* data) {
    Event* event = data;
    for (guint i = 0; i < G_N_ELEMENTS(event->texts); i++) {
        g_free(event->texts[i]);
    }
    g_free(event);
}

DgaEvents* dga_events_new(void) {
    DgaEvents* events = g_new0(DgaEvents, 1);
    events->holders = 1;
    pthread_mutex_init(&events->lock, NULL);
    pthread_mutex_init(&events->calling, NULL);
    pthread_cond_init(&events->changed, NULL);
    g_queue_init(&events->waiting);
    return events;
}

DgaEvents* dga_events_ref(DgaEvents* events) {
    g_atomic_int_inc(&events->holders);
    return events;
}

void dga_events_unref(DgaEvents* events) {
    if (!g_atomic_int_dec_and_test(&events->holders)) {
        return;
    }
    g_queue_clear_full(&events->waiting, event_free);
    g_free(events->version);
    pthread_cond_destroy(&events->changed);
    pthread_mutex_destroy(&events->calling);
    pthread_mutex_destroy(&events->lock);
    g_free(events);
}

/* Under the lock. */
static void push(DgaEvents* events, OrvaneDgaEventKind kind, int protocol, const char* const texts[3]) {
    if (events->thread == NULL || g_queue_get_length(&events->waiting) >= MOST_WAITING) {
        return;
    }
    Event* event = g_new0(Event, 1);
    event->kind = kind;
    event->protocol = protocol;
    for (guint i = 0; i < G_N_ELEMENTS(event->texts); i++) {
        event->texts[i] = g_strdup(texts[i]);
    }
    g_queue_push_tail(&events->waiting, event);
    pthread_cond_signal(&events->changed);
}

static void push_ready(DgaEvents* events) {
    const char* const texts[3] = {events->version, NULL, NULL};
    push(events, ORVANE_DGA_EVENT_READY, events->protocol, texts);
}

void dga_events_add_ready(DgaEvents* events, int protocol, const char* version) {
    pthread_mutex_lock(&events->lock);
    if (events->protocol == 0) {
        events->protocol = MAX(protocol, 1);
        events->version = g_strdup(version != NULL ? version : "");
        push_ready(events);
    }
    pthread_mutex_unlock(&events->lock);
}

void dga_events_add_result(DgaEvents* events, const char* number, const char* state, const char* reason) {
    const char* const texts[3] = {number, state, reason};
    if (number == NULL || state == NULL) {
        return;
    }
    pthread_mutex_lock(&events->lock);
    push(events, ORVANE_DGA_EVENT_REPORT_RESULT, 0, texts);
    pthread_mutex_unlock(&events->lock);
}

/* The value of a member of a flat JSON object as the assistant writes it: without escapes but for a character
 * after a backslash. NULL if there is none. */
static char* member(const char* json, const char* name) {
    char* pattern = g_strdup_printf("(?<!\\\\)\"%s\"\\s*:\\s*(?:\"((?:[^\"\\\\]|\\\\.)*)\"|(\\d+))", name);
    GRegex* regex = g_regex_new(pattern, 0, 0, NULL);
    GMatchInfo* match = NULL;
    char* value = NULL;
    if (g_regex_match(regex, json, 0, &match)) {
        char* text = g_match_info_fetch(match, 1);
        char* number = g_match_info_fetch(match, 2);
        value = number != NULL && *number != '\0' ? g_strdup(number) : g_strcompress(text);
        g_free(number);
        g_free(text);
    }
    g_match_info_free(match);
    g_regex_unref(regex);
    g_free(pattern);
    return value;
}

void dga_events_add_frame(DgaEvents* events, gint32 id, const char* json) {
    char* first = member(json, id == READY_ID ? "protocol" : "number");
    char* second = member(json, id == READY_ID ? "version" : "state");
    char* third = member(json, "reason");
    if (id == READY_ID) {
        dga_events_add_ready(events, first != NULL ? (int)g_ascii_strtoll(first, NULL, 10) : 1, second);
    } else if (id == REPORT_RESULT_ID) {
        dga_events_add_result(events, first, second, third);
    }
    g_free(third);
    g_free(second);
    g_free(first);
}

int dga_events_protocol(DgaEvents* events) {
    pthread_mutex_lock(&events->lock);
    const int protocol = events->protocol;
    pthread_mutex_unlock(&events->lock);
    return protocol;
}

static void call_back(DgaEvents* events, const Event* event) {
    const gboolean is_ready = event->kind == ORVANE_DGA_EVENT_READY;
    const OrvaneDgaEvent told = {
        .kind = event->kind,
        .protocol = event->protocol,
        .version = is_ready ? event->texts[0] : NULL,
        .number = is_ready ? NULL : event->texts[0],
        .state = event->texts[1],
        .reason = event->texts[2],
    };
    pthread_mutex_lock(&events->calling);
    if (events->callback != NULL) {
        events->callback(&told, events->data);
    }
    pthread_mutex_unlock(&events->calling);
}

static void* run(void* data) {
    DgaEvents* events = data;
    pthread_mutex_lock(&events->lock);
    while (!events->ends) {
        Event* event = g_queue_pop_head(&events->waiting);
        if (event == NULL) {
            pthread_cond_wait(&events->changed, &events->lock);
            continue;
        }
        pthread_mutex_unlock(&events->lock);
        call_back(events, event);
        event_free(event);
        pthread_mutex_lock(&events->lock);
    }
    pthread_mutex_unlock(&events->lock);
    return NULL;
}

static void end_thread(DgaEvents* events) {
    pthread_mutex_lock(&events->lock);
    GThread* thread = events->thread;
    events->thread = NULL;
    events->ends = TRUE;
    pthread_cond_signal(&events->changed);
    pthread_mutex_unlock(&events->lock);
    if (thread != NULL) {
        g_thread_join(thread);
    }
    pthread_mutex_lock(&events->lock);
    events->ends = FALSE;
    g_queue_clear_full(&events->waiting, event_free);
    pthread_mutex_unlock(&events->lock);
}

void dga_events_set_callback(DgaEvents* events, OrvaneDgaCallback callback, void* data) {
    pthread_mutex_lock(&events->calling);
    events->callback = callback;
    events->data = data;
    pthread_mutex_unlock(&events->calling);
    if (callback == NULL) {
        end_thread(events);
        return;
    }
    pthread_mutex_lock(&events->lock);
    if (events->thread == NULL) {
        events->thread = g_thread_new("orvane-dga", run, events);
    }
    if (events->protocol != 0) {
        push_ready(events);
    }
    pthread_mutex_unlock(&events->lock);
}
