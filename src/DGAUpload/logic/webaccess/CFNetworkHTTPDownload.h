#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "DGAUpload/logic/webaccess/IUrlDownloadSink.h"

class CNetworkDownload {
public:
    using Headers = std::map<std::string, std::string>;

    CNetworkDownload() = default;
    virtual ~CNetworkDownload() = default;

    int DownloadURL(const char* url, IUrlDownloadSink* sink, unsigned long timeout, bool block,
                    bool saveToFile);
    int PostData(const char* url, const void* data, unsigned long length, IUrlDownloadSink* sink, bool block,
                 bool saveToFile, unsigned long timeout, const Headers* headers);
    void SetNeedEscape(bool needEscape);

    intptr_t m_nDownloadType = 0;
    bool m_bAutoDelete = false;
    bool m_bSkipCheckProxy = false;
};
