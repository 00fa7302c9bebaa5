#include <glib.h>

#include <cstdint>
#include <cstdlib>

#include "platform/NotificationMessage.h"

// What is read is written and read again: nothing may change.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    using platform::notificationFrom;
    GBytes* const blob = g_bytes_new(bytes, length);
    for (const char* type : {"(ssa{sv})", "(sv)"}) {
        GVariant* const parameters =
            g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(type), blob, FALSE));
        if (const auto notification = notificationFrom(parameters)) {
            GVariant* const written = g_variant_ref_sink(platform::notificationParameters(*notification));
            const auto again = notificationFrom(written);
            if (!again || again->name != notification->name || again->userInfo != notification->userInfo)
                std::abort();
            g_variant_unref(written);
        }
        g_variant_unref(parameters);
    }
    g_bytes_unref(blob);
    return 0;
}
