/*
 * Errors and limits of the client library, for all its parts. Included by orvane_dga_client.h.
 */
#ifndef ORVANE_DGA_TYPES_H
#define ORVANE_DGA_TYPES_H

#include <glib.h>

G_BEGIN_DECLS

/** What the library lets out; everything else in it is hidden. */
#define ORVANE_DGA_API __attribute__((visibility("default")))

/** The error domain of this library. */
#define ORVANE_DGA_ERROR (orvane_dga_error_quark())
ORVANE_DGA_API GQuark orvane_dga_error_quark(void);

typedef enum {
    ORVANE_DGA_ERROR_START,    /**< The assistant's program could not be started. */
    ORVANE_DGA_ERROR_BUS,      /**< Neither the session bus nor the message port takes notifications. */
    ORVANE_DGA_ERROR_TIMEOUT,  /**< What was waited for did not happen in time. */
    ORVANE_DGA_ERROR_ENDED,    /**< The assistant has ended. */
    ORVANE_DGA_ERROR_PORT,     /**< The message port could not be reached or was closed. */
    ORVANE_DGA_ERROR_TOO_LONG, /**< The message is longer than ORVANE_DGA_MESSAGE_MAX. */
    ORVANE_DGA_ERROR_TEXT      /**< The text is not UTF-8, or not of the form that the call names. */
} OrvaneDgaError;

typedef enum {
    ORVANE_DGA_EVENT_READY,        /**< The assistant listens. */
    ORVANE_DGA_EVENT_REPORT_RESULT /**< Something came of a report. */
} OrvaneDgaEventKind;

/** What the assistant tells. The texts are UTF-8 and live as long as the call that hands them over. */
typedef struct {
    OrvaneDgaEventKind kind;
    int protocol;        /**< READY: of the protocol that the assistant speaks. 1 if it does not say. */
    const char* version; /**< READY: the assistant's, "" if it does not say. Else NULL. */
    const char* number;  /**< REPORT_RESULT: the report's number; "" if it did not get one. Else NULL. */
    const char* state;   /**< REPORT_RESULT: made, sent, failed, saved, mailed, kept, discarded or cancelled;
                              others may come. Else NULL. */
    const char* reason;  /**< REPORT_RESULT: of a failure, in English, for a log. Else NULL. */
} OrvaneDgaEvent;

/** Told about events; see orvane_dga_set_callback(). */
typedef void (*OrvaneDgaCallback)(const OrvaneDgaEvent* event, void* data);

/** The most bytes that one meeting-data message may have. */
#define ORVANE_DGA_MESSAGE_MAX (1024 * 1024)

G_END_DECLS

#endif
