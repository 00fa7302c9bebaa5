#include "DGAUpload/logic/CTraceUpload.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "DGAUpload/logic/CUploadRequest.h"
#include "support/Base64.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int kPieceLength = CFileOperate::kPieceLength;

// The line length of every base64 text in a description.
constexpr size_t kBase64LineLength = 64;

std::string base64(const std::string& text) {
    return support::base64Encode(text, kBase64LineLength);
}

std::string valueOf(const DGAXMLParser::Dictionary& values, const char* name) {
    const auto found = values.find(name);
    return found == values.end() ? std::string() : found->second;
}

bool isSuccess(const DGAXMLParser::Dictionary& values) {
    return valueOf(values, "Status") == "SUCCESS";
}

}  // namespace

struct CTraceUpload::Reply {
    int result;
    const std::string& text;
};

CTraceUpload::CTraceUpload() : m_request(std::make_shared<CUploadRequest>(*this)) {
    logInfo("CTraceUpload::CTraceUpload Begin");
}

CTraceUpload::~CTraceUpload() {
    m_request->abandon();
}

void CTraceUpload::setRules(CNetworkDownload::Rules rules) {
    m_request->setRules(std::move(rules));
}

bool CTraceUpload::preparingReport(std::string url, std::string filePath) {
    m_siteURL = std::move(url);
    if (filePath.empty()) {
        m_status = kStatusNoFile;
        logWarning("CTraceUpload::preparingReport filePath is empty");
        return true;
    }
    m_filePath = std::move(filePath);
    logInfo("CTraceUpload::preparingReport file:{}, file_without_extension:{}", m_filePath, m_fileName);
    m_pFileOperate = std::make_unique<CFileOperate>();
    if (!m_pFileOperate->initialize(m_filePath)) {
        m_status = kStatusNoFile;
        logWarning("CTraceUpload::start_uploadToServer file inital failed");
        return false;
    }
    return true;
}

bool CTraceUpload::queryAndUploadToSever() {
    logInfo("CTraceUpload::queryAndUploadToSever");
    m_request->query(getURLAndEnodeByType("QW"));
    return true;  // we may be gone here
}

std::string CTraceUpload::getURLAndEnodeByType(const std::string& type) const {
    if (type == "QW" || type == "UL")
        return m_siteURL + "&AT=" + type;
    logWarning("CTraceUpload::getURLAndEnodeByType type not support");
    return m_siteURL;
}

void CTraceUpload::start_uploadToServer() {
    logInfo("CTraceUpload::start_uploadToServer");
    m_fileSizeText = std::to_string(m_pFileOperate ? m_pFileOperate->fileSize() : 0);
    m_total_pieceCount = m_pFileOperate ? static_cast<uint32_t>(m_pFileOperate->getTotalPiece()) : 0;
    if (m_total_pieceCount == 0) {
        m_status = kStatusFileEmpty;
        logWarning("CTraceUpload::start_uploadToServer filesize is 0, no file to upload");
        return;
    }
    ++m_current_pieceNum;
    m_status = kStatusSending;
    m_ahead = std::make_unique<CPieceAhead>(m_filePath, description());
    uploading_tracefile();
}

bool CTraceUpload::uploading_tracefile() {
    logInfo("CTraceUpload::uploading_tracefile");
    if (m_current_pieceNum > m_total_pieceCount)
        uploadFinish();
    else
        postPiece();
    return true;  // we may be gone here
}

void CTraceUpload::postPiece() {
    CPieceAhead::Piece piece = m_ahead->take(m_current_pieceNum);
    m_nPieceLength = piece.length;
    const int64_t offset = static_cast<int64_t>(m_current_pieceNum - 1) * kPieceLength;
    const int64_t due = std::min<int64_t>(m_pFileOperate->fileSize() - offset, kPieceLength);
    m_pFileOperate->noteBlock(kPieceLength, m_nPieceLength);
    if (static_cast<int64_t>(m_nPieceLength) < due) {
        m_status = kStatusSendFailed;
        logWarning("CTraceUpload::uploading_tracefile,the file has become shorter");
        return;
    }
    logInfo("CTraceUpload::start_uploadToServer base64EncodeReturnSize {}, Inital Size: {} \n", piece.encoded,
            support::GetBase64EncodeSize(kPieceLength) + 1);
    // Made while this one is on its way.
    if (m_current_pieceNum < m_total_pieceCount)
        m_ahead->prepare(m_current_pieceNum + 1);
    m_request->post(getURLAndEnodeByType("UL"), std::move(piece.body));
}

// What is the same in all pieces is put together once.
CPieceAhead::Describe CTraceUpload::description() const {
    const nlohmann::json fields{
        {"SMAC", m_smac},
        {"cn", base64(m_conferenceName)},
        {"ui", m_userId},
        {"si", m_siteId},
        {"sn", base64(m_userName)},
        {"mk", m_meetingKey},
        {"ts", m_smacTimestap},
        {"ci", m_confId},
        {"pc", std::to_string(m_total_pieceCount)},
        {"ut", m_uploadTimeStamp},
        {"fn", m_fileName},
        {"cb", m_clientVersion},
        {"su", m_siteURL},
        {"li", m_languageID},
        {"pt", "2"},
        {"ue", m_userEmail},
        {"pd", base64(m_userComment)},
        {"ti", m_trackingId},
        {"ct", m_problemCatagory},
        {"fs", m_fileSizeText},
    };
    return [fields](uint32_t number, uint64_t length) {
        nlohmann::json all = fields;
        all["pl"] = std::to_string(length);
        all["pn"] = std::to_string(number);
        return base64(support::prettyJson(all));
    };
}

void CTraceUpload::uploadFinish() {
    logInfo("CTraceUpload::uploadFinish");
    m_ahead.reset();
    m_status = kStatusSent;
}

void CTraceUpload::OnUrlReturn(intptr_t downloadType, int result, const char* data) {
    logInfo("CTraceUpload::OnUrlReturn,result={}", result);
    if (data == nullptr) {
        requestFailed(downloadType);
        return;
    }
    const std::string text(data, static_cast<size_t>(std::max(result, 0)));
    logInfo("str_return_XML.c_str()={}", text.c_str());
    const Reply reply{result, text};
    DGAXMLParser::parserValueWith(
        text,
        [&](const DGAXMLParser::Dictionary& values) {
            if (downloadType == CUploadRequest::kPiece)
                pieceAnswered(reply, values);
            else if (downloadType == CUploadRequest::kQuery)
                queryAnswered(reply, values);
        },
        [&](const platform::XmlParseError& /*error*/) { replyUnreadable(downloadType); })
        ->startParse();
}

void CTraceUpload::requestFailed(intptr_t downloadType) {
    logWarning("CTraceUpload::OnUrlReturn, failed, downloadType {}", downloadType);
    if (m_request->error().untrusted)
        m_status = kStatusUntrusted;
    else if (m_request->error().forbidden)
        m_status = kStatusForbidden;
    else
        m_status = downloadType == CUploadRequest::kQuery ? kStatusQueryFailed : kStatusSendFailed;
}

void CTraceUpload::pieceAnswered(const Reply& reply, const DGAXMLParser::Dictionary& values) {
    if (isSuccess(values)) {
        pieceTaken();
    } else if (support::jsonBoolQuery(valueOf(values, "ExceedFileNumber")).value_or(false)) {
        m_status = kStatusExceedFileNumber;
    } else {
        m_status = kStatusSendFailed;
        logNotice("CTraceUpload::OnUrlReturn,Upload Filed failed! result: {}, content: {}", reply.result,
                  reply.text.c_str());
    }
}

void CTraceUpload::pieceTaken() {
    int32_t progress = static_cast<int32_t>(static_cast<float>(m_current_pieceNum) /
                                            static_cast<float>(m_total_pieceCount) * 100);
    if (progress >= 101) {
        logNotice(
            "CTraceUpload::OnUrlReturn,m_upload_progress is wrong: {}, m_current_pieceNum {}, "
            "m_total_pieceCount {}",
            progress, m_current_pieceNum, m_total_pieceCount);
        progress = 100;
    }
    m_upload_progress = progress;
    ++m_current_pieceNum;
    uploading_tracefile();
}

void CTraceUpload::queryAnswered(const Reply& reply, const DGAXMLParser::Dictionary& values) {
    if (isSuccess(values)) {
        m_status = kStatusQueryAnswered;
        m_bQuerySucceeded = true;
        start_uploadToServer();
    } else {
        m_status = kStatusSendFailed;
        logNotice(
            "CTraceUpload::OnUrlReturn,QueryWorkload Connection to Server failed! result: {}, content: {}",
            reply.result, reply.text.c_str());
    }
}

void CTraceUpload::replyUnreadable(intptr_t downloadType) {
    if (downloadType == CUploadRequest::kPiece) {
        m_status = kStatusSendFailed;
        logNotice("CTraceUpload::OnUrlReturn,Upload Filed failed!");
    } else if (downloadType == CUploadRequest::kQuery) {
        m_status = kStatusQueryFailed;
        logWarning("CTraceUpload::OnUrlReturn,QueryWorkload parse failed!");
    }
}

bool CTraceUpload::OnAskProxy(std::string& /*user*/, std::string& /*password*/) {
    return true;
}
