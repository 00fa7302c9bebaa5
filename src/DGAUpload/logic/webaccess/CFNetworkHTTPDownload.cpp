#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"

int CNetworkDownload::DownloadURL(const char* /*url*/, IUrlDownloadSink* /*sink*/, unsigned long /*timeout*/,
                                  bool /*block*/, bool /*saveToFile*/) {
    return -1;
}

int CNetworkDownload::PostData(const char* /*url*/, const void* /*data*/, unsigned long /*length*/,
                               IUrlDownloadSink* /*sink*/, bool /*block*/, bool /*saveToFile*/,
                               unsigned long /*timeout*/, const Headers* /*headers*/) {
    return -1;
}

void CNetworkDownload::SetNeedEscape(bool /*needEscape*/) {}
