#pragma once

// A main window over a settings file of the test's own, and a site file of the test's own that
// the window's link can connect to.

#include "app/frmMain.h"
#include "core/AppGlobals.h"
#include "core/Session.h"
#include "sitelink/SiteLink.h"

#include "support/GuiTestSupport.h"
#include "support/SiteFilesTest.h"

#include <QCoreApplication>
#include <QEvent>

namespace testsupport {

class MainWindowTest : public SiteFilesTest<GuiTest> {
protected:
    void SetUp() override {
        SiteFilesTest::SetUp();
        main_ = new frmMain();
    }

    void TearDown() override {
        // Closing disconnects the link, and the window deletes itself.
        if (main_) main_->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        SiteFilesTest::TearDown();
    }

    sitelink::SiteLink& link() { return main_->TillsightLink(); }
    void connectSite() {
        link().setRemoteAddress(sitePath_);
        link().Connect();
        ASSERT_TRUE(gConnected);
    }

    QPointer<frmMain> main_;
};

} // namespace testsupport
