#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "DGAUpload/logic/CFileOperate.h"
#include "DGAUpload/logic/CPieceAhead.h"
#include "DGAUpload/logic/DGAXMLParser.h"
#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "DGAUpload/logic/webaccess/IUrlDownloadSink.h"

class CUploadRequest;

/// Sends one report archive to the upload server: asks whether the server takes it, then posts it piece by
/// piece.
///
/// Set the fields, call preparingReport() and queryAndUploadToSever(), and read m_status and
/// m_upload_progress until a final status. All calls are made on one thread, which turns its run loop until
/// then; the two numbers may be read on any thread. May be destroyed at any moment and on any thread while
/// the thread that sends lives: a request that is under way is then cancelled.
///
/// Memory does not depend on the size of the archive. Nothing is repeated after a failure.
class CTraceUpload final : public IUrlDownloadSink {
public:
    static constexpr int32_t kStatusConstructed = 10;
    static constexpr int32_t kStatusPrepared = 11;       ///< never set here; the window knows it
    static constexpr int32_t kStatusNoFile = 12;         ///< no path, or the file cannot be opened
    static constexpr int32_t kStatusConnected = 13;      ///< never set here; the window knows it
    static constexpr int32_t kStatusFileEmpty = 14;      ///< final
    static constexpr int32_t kStatusQueryAnswered = 15;  ///< the server takes the upload
    static constexpr int32_t kStatusQueryFailed = 16;    ///< final: no reply, or one that is not XML
    static constexpr int32_t kStatusSending = 17;
    static constexpr int32_t kStatusSendFailed = 18;  ///< final: a piece failed, or the query was refused
    static constexpr int32_t kStatusSent = 19;        ///< final
    static constexpr int32_t kStatusExceedFileNumber = 20;  ///< final: the server has too many files
    static constexpr int32_t kStatusUntrusted = 21;  ///< final: a certificate does not verify that has to
    static constexpr int32_t kStatusForbidden = 22;  ///< final: reports may not go to that host

    CTraceUpload();
    ~CTraceUpload() override;
    CTraceUpload(const CTraceUpload&) = delete;
    CTraceUpload& operator=(const CTraceUpload&) = delete;

    void setSiteURL(std::string text) { m_siteURL = std::move(text); }
    void setLanguageID(std::string text) { m_languageID = std::move(text); }
    void setConfId(std::string text) { m_confId = std::move(text); }
    void setUploadTimeStamp(std::string text) { m_uploadTimeStamp = std::move(text); }
    void setSmac(std::string text) { m_smac = std::move(text); }
    void setFileName(std::string text) { m_fileName = std::move(text); }
    void setConferenceName(std::string text) { m_conferenceName = std::move(text); }
    void setUserId(std::string text) { m_userId = std::move(text); }
    void setSiteId(std::string text) { m_siteId = std::move(text); }
    void setUserName(std::string text) { m_userName = std::move(text); }
    void setMeetingKey(std::string text) { m_meetingKey = std::move(text); }
    void setSmacTimestap(std::string text) { m_smacTimestap = std::move(text); }
    void setClientVersion(std::string text) { m_clientVersion = std::move(text); }
    void setUserComment(std::string text) { m_userComment = std::move(text); }
    void setTrackingId(std::string text) { m_trackingId = std::move(text); }
    void setUserEmail(std::string text) { m_userEmail = std::move(text); }
    void setProblemCatagory(std::string text) { m_problemCatagory = std::move(text); }

    /// Kept, but not sent: the server's field of that meaning carries the user's comment.
    void setProblemDiscription(std::string text) { m_problemDiscription = std::move(text); }

    /// What an administrator has decided. Before the query.
    void setRules(CNetworkDownload::Rules rules);

    /// Sets the site URL, to which queries are appended with "&", and opens the archive. False with
    /// kStatusNoFile if it cannot be opened; true with the same status for an empty path.
    bool preparingReport(std::string url, std::string filePath);

    /// Sends the query; everything else follows from its answer. Always true.
    bool queryAndUploadToSever();

    /// The URL of a request of type "QW" or "UL"; the site URL for any other type.
    std::string getURLAndEnodeByType(const std::string& type) const;

    void start_uploadToServer();
    bool uploading_tracefile();
    void uploadFinish();

    void OnUrlReturn(intptr_t downloadType, int result, const char* data) override;
    bool OnAskProxy(std::string& user, std::string& password) override;

    std::string m_filePath;
    std::atomic<int32_t> m_status{kStatusConstructed};
    std::atomic<int32_t> m_upload_progress{0};  ///< percent

private:
    struct Reply;

    CPieceAhead::Describe description() const;
    void postPiece();
    void queryAnswered(const Reply& reply, const DGAXMLParser::Dictionary& values);
    void pieceAnswered(const Reply& reply, const DGAXMLParser::Dictionary& values);
    void requestFailed(intptr_t downloadType);
    void replyUnreadable(intptr_t downloadType);
    void pieceTaken();

    std::unique_ptr<CPieceAhead> m_ahead;
    bool m_bQuerySucceeded = false;
    std::unique_ptr<CFileOperate> m_pFileOperate;
    std::string m_siteURL;
    std::string m_languageID;
    std::string m_confId;
    uint64_t m_nPieceLength = 0;
    uint32_t m_total_pieceCount = 0;
    uint32_t m_current_pieceNum = 0;
    std::string m_uploadTimeStamp;
    std::string m_smac;
    std::string m_fileName;
    std::string m_conferenceName;
    std::string m_userId;
    std::string m_siteId;
    std::string m_userName;
    std::string m_meetingKey;
    std::string m_smacTimestap;
    std::string m_clientVersion;
    std::string m_userComment;
    std::string m_trackingId;
    std::string m_userEmail;
    std::string m_fileSizeText;
    std::string m_problemCatagory;
    std::string m_problemDiscription;
    std::shared_ptr<CUploadRequest> m_request;
};
