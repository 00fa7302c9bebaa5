#include "dga_meeting.h"

#include "orvane_dga_types.h"

/* GVariant's text form of such a dictionary is what JSON writes for it. */
#define MESSAGE_TYPE G_VARIANT_TYPE("a{sa{si}}")
#define EVENT "event"

struct DgaMeeting {
    GMutex lock;
    GTree* sections; /* name to a tree of key to integer; sorted, so that equal states are equal texts */
};

static gint compare_names(gconstpointer one, gconstpointer other, gpointer unused) {
    (void)unused;
    return g_strcmp0(one, other);
}

static void free_tree(gpointer tree) {
    g_tree_unref(tree);
}

static void set_value(GTree* sections, const char* name, const char* key, gint32 value) {
    GTree* section = g_tree_lookup(sections, name);
    if (section == NULL) {
        section = g_tree_new_full(compare_names, NULL, g_free, NULL);
        g_tree_insert(sections, g_strdup(name), section);
    }
    g_tree_insert(section, g_strdup(key), GINT_TO_POINTER(value));
}

DgaMeeting* dga_meeting_new(void) {
    DgaMeeting* meeting = g_new0(DgaMeeting, 1);
    g_mutex_init(&meeting->lock);
    meeting->sections = g_tree_new_full(compare_names, NULL, g_free, free_tree);
    set_value(meeting->sections, "network", "networkStatus", 1);
    return meeting;
}

void dga_meeting_free(DgaMeeting* meeting) {
    g_tree_unref(meeting->sections);
    g_mutex_clear(&meeting->lock);
    g_free(meeting);
}

static gboolean is_plain_name(const char* name) {
    const char* end = name;
    while (g_ascii_isalnum(*end) || *end == '_') {
        end++;
    }
    return end != name && *end == '\0';
}

static gboolean has_plain_names(GVariant* message) {
    gboolean plain = TRUE;
    const char* name = NULL;
    const char* key = NULL;
    GVariantIter sections;
    GVariantIter* values = NULL;
    g_variant_iter_init(&sections, message);
    while (plain && g_variant_iter_next(&sections, "{&sa{si}}", &name, &values)) {
        plain = is_plain_name(name);
        while (plain && g_variant_iter_next(values, "{&si}", &key, NULL)) {
            plain = is_plain_name(key);
        }
        g_variant_iter_free(values);
    }
    return plain;
}

static GVariant* read_message(const char* json, GError** error) {
    GError* reason = NULL;
    GVariant* message = g_variant_parse(MESSAGE_TYPE, json, NULL, NULL, &reason);
    if (message != NULL && has_plain_names(message)) {
        return message;
    }
    g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_TEXT,
                "meeting data is not an object of objects of integers: %s",
                reason != NULL ? reason->message : "a name has other characters than letters and digits");
    g_clear_error(&reason);
    g_clear_pointer(&message, g_variant_unref);
    return NULL;
}

static void apply(GTree* state, GVariant* message) {
    const char* name = NULL;
    const char* key = NULL;
    gint32 value = 0;
    GVariantIter sections;
    GVariantIter* values = NULL;
    g_variant_iter_init(&sections, message);
    while (g_variant_iter_next(&sections, "{&sa{si}}", &name, &values)) {
        while (g_variant_iter_next(values, "{&si}", &key, &value)) {
            set_value(state, name, key, value);
        }
        g_variant_iter_free(values);
    }
}

static gboolean write_value(gpointer key, gpointer value, gpointer text) {
    g_string_append_printf(text, "\"%s\":%d,", (const char*)key, GPOINTER_TO_INT(value));
    return FALSE;
}

static void close_object(GString* text) {
    if (text->str[text->len - 1] == ',') {
        g_string_truncate(text, text->len - 1);
    }
    g_string_append_c(text, '}');
}

static gboolean write_section(gpointer name, gpointer section, gpointer text) {
    g_string_append_printf(text, "\"%s\":{", (const char*)name);
    g_tree_foreach(section, write_value, text);
    close_object(text);
    g_string_append_c(text, ',');
    return FALSE;
}

char* dga_meeting_merge(DgaMeeting* meeting, const char* json, GError** error) {
    GVariant* message = read_message(json, error);
    if (message == NULL) {
        return NULL;
    }
    GString* text = g_string_new("{");
    g_mutex_lock(&meeting->lock);
    apply(meeting->sections, message);
    g_tree_foreach(meeting->sections, write_section, text);
    g_tree_remove(meeting->sections, EVENT);
    g_mutex_unlock(&meeting->lock);
    g_variant_unref(message);
    close_object(text);
    return g_string_free(text, FALSE);
}
