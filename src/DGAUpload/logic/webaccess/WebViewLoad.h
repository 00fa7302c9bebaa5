#pragma once

#include <string>

#include "DGAUpload/logic/webaccess/PacPage.h"

/// Told about the loading of the page of an auto-configuration script. Main thread.
class WebViewLoad final : public PacPage::FrameLoadDelegate {
public:
    /// For the main frame only: notes it and gives the page its native objects.
    void webView(PacPage& sender, const PacPage::Frame* didFinishLoadForFrame) override;
    void webView(PacPage& sender, const std::string& didFailLoadWithError,
                 const PacPage::Frame* forFrame) override;

    bool loadSuccess() const { return m_bWebViewLoaded; }
    void setLoadSuccess_(bool loadSuccess) { m_bWebViewLoaded = loadSuccess; }

private:
    bool m_bWebViewLoaded = false;
};
