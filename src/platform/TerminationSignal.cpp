#include "platform/TerminationSignal.h"

#include <glib-unix.h>

#include <csignal>
#include <utility>

namespace platform {
namespace {

gboolean onSignal(gpointer handler) {
    (*static_cast<std::function<void()>*>(handler))();
    return G_SOURCE_CONTINUE;
}

}  // namespace

TerminationSignal::TerminationSignal(std::function<void()> handler)
    : handler_(std::move(handler)),
      sources_{g_unix_signal_add(SIGTERM, &onSignal, &handler_),
               g_unix_signal_add(SIGINT, &onSignal, &handler_)} {}

TerminationSignal::~TerminationSignal() {
    for (const unsigned source : sources_)
        g_source_remove(source);
}

}  // namespace platform
