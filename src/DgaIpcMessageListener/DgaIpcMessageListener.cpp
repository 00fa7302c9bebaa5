#include "DgaIpcMessageListener/DgaIpcMessageListener.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include "platform/MessagePort.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "support/ORVNLogger.h"

namespace {

constexpr char kPortNamePrefix[] = "com.tellan.orvane.orvanedga";

DgaIpcMessageListener* theListener = nullptr;

}  // namespace

bool DgaIpcMessageSink::onNotification(int32_t /*messageID*/, const std::optional<std::string>& /*text*/) {
    return false;
}

DgaIpcMessageListener::DgaIpcMessageListener() = default;

DgaIpcMessageListener::~DgaIpcMessageListener() {
    portRef_.reset();
    if (theListener == this)
        theListener = nullptr;
}

void DgaIpcMessageListener::initWithJsonMessageSink(DgaIpcMessageSink* messageSink) {
    if (theListener) {
        std::fputs("already created, there can be only one instance\n", stderr);
        return;
    }
    messageSink_ = messageSink;
    theListener = this;
    createListenerPort();
}

std::string DgaIpcMessageListener::getMessagePortName() {
    return fmt::format("{}.{}", kPortNamePrefix, getpid());
}

void DgaIpcMessageListener::createListenerPort() {
    portRef_ = platform::MessagePort::createLocal(getMessagePortName(), &messagePortCallBack);
    if (!portRef_) {
        logWarning("createListenerPort failed !!!");
        return;
    }
    logInfo("createListenerPort  with port name {}", getMessagePortName());
    portRef_->schedule(platform::RunLoop::current());
}

void DgaIpcMessageListener::messagePortCallBack(platform::MessagePort& port, int32_t messageID,
                                                std::optional<std::string_view> data) {
    if (!theListener)
        return;
    std::optional<std::string> text;
    if (data && platform::isUtf8(*data))
        text = *data;
    else if (data)
        logWarning("a message of {} bytes that is not UTF-8 is ignored", data->size());
    if (theListener->messageSink_ && theListener->messageSink_->onNotification(messageID, text)) {
        if (!theListener->greeting_.empty())
            port.keepInformed(theListener->greetingID_, theListener->greeting_);
        return;
    }
    if (data)
        theListener->handlePortMessage(text);
}

void DgaIpcMessageListener::setGreeting(int32_t messageID, std::string text) {
    greetingID_ = messageID;
    greeting_ = std::move(text);
}

void DgaIpcMessageListener::tell(int32_t messageID, const std::string& text) {
    if (portRef_)
        portRef_->tell(messageID, text);
}

void DgaIpcMessageListener::setHeld(bool held) {
    if (portRef_)
        portRef_->setHeld(held);
}

void DgaIpcMessageListener::handlePortMessage(const std::optional<std::string>& message) {
    if (messageSink_)
        messageSink_->onMessageWithJsonData(message);
}
