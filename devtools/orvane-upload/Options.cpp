#include "Options.h"

#include "devtools/shared/CommandLine.h"

namespace upload {

namespace {

constexpr const char* kAbout =
    R"(Sends FILE to the upload server at URL as the assistant sends a problem report: asks whether the
server takes it, then posts it in pieces of 122880 bytes.
)";

constexpr const char* kMore =
    R"(Exit status: 0 the server has the whole file (status 19), 1 it has not, 2 a bad command line.
)";

struct Field {
    const char* option;
    std::string Options::*value;
    const char* meaning;
};

constexpr Field kFields[] = {
    {"conf-id", &Options::confId, "conference id"},
    {"conf-name", &Options::confName, "conference name"},
    {"smac", &Options::smac, "the session's key"},
    {"smac-timestamp", &Options::smacTimestap, "the time of that key"},
    {"user-id", &Options::userId, "user id"},
    {"site-id", &Options::siteId, "site id"},
    {"user-name", &Options::userName, "user name"},
    {"user-email", &Options::userEmail, "user's e-mail address"},
    {"meeting-key", &Options::meetingKey, "meeting key"},
    {"tracking-id", &Options::trackingId, "tracking id"},
    {"language-id", &Options::languageId, "language number"},
    {"client-version", &Options::clientVersion, "the client's version"},
    {"comment", &Options::comment, "the user's description"},
    {"category", &Options::category, "problem category number"},
    {"file-name", &Options::fileName, "name of the archive at the server"},
};

}  // namespace

std::optional<int> readOptions(Options& options, int argc, char** argv) {
    devtools::CommandLine line("orvane-upload", UPLOAD_VERSION, kAbout, kMore);
    line.add_option("URL", options.url,
                    "carries a query, because more is appended with \"&\":\n"
                    "http://127.0.0.1:8080/upload?siteid=1. The proxies of the\ndesktop are used")
        ->required()
        ->type_name("");
    line.add_option("FILE", options.file, "the file to send")->required()->type_name("");
    int patience = 60;
    line.add_option("--patience", patience, "give up when nothing has moved for so long (default: 60)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 86400).description(""));
    line.add_option("--log", options.log, "write the log to /tmp/orvtrace/SUBPATH")->type_name("SUBPATH");
    line.add_flag("-q,--quiet", options.quiet, "print only what is wrong");
    for (const auto& field : kFields) {
        std::string& value = options.*field.value;
        const std::string byDefault = value.empty() ? "" : " (default: " + value + ")";
        line.add_option(std::string("--") + field.option, value, field.meaning + byDefault)
            ->type_name("TEXT")
            ->group("What the report says of its session");
    }

    if (const auto status = line.read(argc, argv))
        return status;
    options.patience = std::chrono::seconds(patience);
    if (options.fileName.empty()) {
        const std::string name = options.file.substr(options.file.rfind('/') + 1);
        options.fileName = name.substr(0, name.find('.'));
    }
    return std::nullopt;
}

}  // namespace upload
