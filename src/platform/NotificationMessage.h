#pragma once

#include <optional>

#include "platform/Notification.h"

struct _GVariant;  // NOLINT(bugprone-reserved-identifier): GLib's own name

namespace platform {

/// A notification out of a signal's parameters (ssa{sv}); none if they are of another form.
std::optional<Notification> notificationFrom(_GVariant* parameters);

/// The parameters of a notification, a floating reference. Text that is not UTF-8 is made so.
_GVariant* notificationParameters(const Notification& notification);

}  // namespace platform
