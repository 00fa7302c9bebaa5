#include "Replies.h"

#include <fmt/format.h>

#include <thread>

namespace uploadserver {

namespace {

constexpr char kXml[] = "text/xml; charset=utf-8";
constexpr std::chrono::seconds kSlow{40};

std::string bomb() {
    std::string text = "<?xml version=\"1.0\"?>\n<!DOCTYPE Reply [\n<!ENTITY e0 \"SUCCESS\">\n";
    for (int i = 1; i < 10; ++i) {
        text += fmt::format("<!ENTITY e{} \"", i);
        for (int k = 0; k < 10; ++k)
            text += fmt::format("&e{};", i - 1);
        text += "\">\n";
    }
    return text + "]>\n<Reply><Status>&e9;</Status></Reply>\n";
}

void fillStatus(int status, httplib::Response& response) {
    response.status = status;
    if (status == 401)
        response.set_header("WWW-Authenticate", "Basic realm=\"reports\"");
    if (status == 407)
        response.set_header("Proxy-Authenticate", "Basic realm=\"proxy\"");
    response.set_content(fmt::format("<html><body><h1>{}</h1></body></html>\n", status), "text/html");
}

void fillCut(httplib::Response& response) {
    const std::string reply = replyDocument("SUCCESS", false);
    response.set_content_provider(reply.size(), kXml,
                                  [reply](size_t offset, size_t, httplib::DataSink& sink) {
                                      return offset == 0 && sink.write(reply.data(), reply.size() / 2);
                                  });
}

}  // namespace

std::string replyDocument(const std::string& status, bool exceedFileNumber) {
    return fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Reply>\n<Status>{}</Status>\n"
        "<ExceedFileNumber>{}</ExceedFileNumber>\n</Reply>\n",
        status, exceedFileNumber);
}

bool fillFailure(const Options& options, const httplib::Request& request, httplib::Response& response) {
    switch (options.failure) {
        case Failure::none:
            return false;
        case Failure::busy:
            response.set_content(replyDocument("BUSY", false), kXml);
            break;
        case Failure::fail:
        case Failure::exceed:
            response.set_content(replyDocument("FAIL", options.failure == Failure::exceed), kXml);
            break;
        case Failure::status:
            fillStatus(options.httpStatus, response);
            break;
        case Failure::redirect:
            if (request.target.starts_with("/moved"))
                return false;
            response.set_redirect("/moved" + request.target, 307);
            break;
        case Failure::slow:
            std::this_thread::sleep_for(kSlow);
            return false;
        case Failure::cut:
            fillCut(response);
            break;
        case Failure::wrongxml:
            response.set_content("<Reply><Status>SUCCESS</Reply>\n", kXml);
            break;
        case Failure::html:
            response.set_content("<html><head><title>Please log in</title></head><body/></html>\n",
                                 "text/html");
            break;
        case Failure::bomb:
            response.set_content(bomb(), kXml);
            break;
    }
    return true;
}

}  // namespace uploadserver
