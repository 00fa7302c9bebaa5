#include "platform/NotificationMessage.h"

#include <glib.h>

#include <string>

namespace platform {
namespace {

GVariant* textVariant(const std::string& text) {
    return g_variant_new_take_string(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
}

}  // namespace

std::optional<Notification> notificationFrom(GVariant* parameters) {
    if (!parameters || !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssa{sv})")))
        return std::nullopt;
    Notification notification;
    const char* name = nullptr;
    const char* object = nullptr;
    GVariantIter* info = nullptr;
    g_variant_get(parameters, "(&s&sa{sv})", &name, &object, &info);
    notification.name = name;
    if (*object)
        notification.object = object;
    const char* key = nullptr;
    GVariant* value = nullptr;
    while (g_variant_iter_next(info, "{&sv}", &key, &value)) {
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
            gsize length = 0;
            const char* text = g_variant_get_string(value, &length);
            notification.userInfo.insert_or_assign(key, std::string(text, length));
        }
        g_variant_unref(value);
    }
    g_variant_iter_free(info);
    return notification;
}

GVariant* notificationParameters(const Notification& notification) {
    GVariantBuilder info;
    g_variant_builder_init(&info, G_VARIANT_TYPE_VARDICT);
    for (const auto& [key, value] : notification.userInfo)
        g_variant_builder_add(&info, "{sv}", key.c_str(), textVariant(value));
    for (const auto& [key, value] : notification.numbers)
        g_variant_builder_add(&info, "{sv}", key.c_str(), g_variant_new_int32(value));
    return g_variant_new("(@s@sa{sv})", textVariant(notification.name),
                         textVariant(notification.object.value_or("")), &info);
}

}  // namespace platform
