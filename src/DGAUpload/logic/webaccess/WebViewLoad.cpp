#include "DGAUpload/logic/webaccess/WebViewLoad.h"

#include "DGAUpload/logic/webaccess/PageNativeObject.h"

void WebViewLoad::webView(PacPage& sender, const PacPage::Frame* didFinishLoadForFrame) {
    if (didFinishLoadForFrame != sender.mainFrame())
        return;
    m_bWebViewLoaded = true;
    sender.setWindowObject("myIpAddressObject", PageNativeObject::pageNativeObject());
    sender.setWindowObject("myResolveHostObject", PageNativeObject::pageNativeObject());
}

void WebViewLoad::webView(PacPage& /*sender*/, const std::string& /*didFailLoadWithError*/,
                          const PacPage::Frame* /*forFrame*/) {}
