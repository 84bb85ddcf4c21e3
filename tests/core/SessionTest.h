#pragma once

// A session with no window: a settings file and a site file of the test's own, and feedback that
// records what the core tells and asks instead of showing it.

#include "core/AppGlobals.h"
#include "core/Feedback.h"
#include "core/Session.h"
#include "core/modError.h"
#include "settings/modSites.h"
#include "sitelink/SiteLink.h"

#include "support/CoreApplication.h"
#include "support/SiteFilesTest.h"
#include "support/VbTestSupport.h"

#include <QFile>
#include <QStringList>
#include <memory>

namespace testsupport {

class RecordingFeedback : public core::BusyIndicator, public core::MessageSink {
public:
    void beginBusy() override {
        ++depth;
        ++begun;
    }
    void endBusy() override { --depth; }
    void showMessage(const QString& message, const QString& banner) override {
        messages << banner + u'|' + message;
    }
    int messageBox(const QString& text, const QString& title, int style) override {
        boxes << title + u'|' + text + u'|' + QString::number(style);
        return answer;
    }
    void playAsterisk() override { ++asterisks; }

    int depth = 0;
    int begun = 0;
    int asterisks = 0;
    int answer = core::vbOK;
    QStringList messages; // "banner|message"
    QStringList boxes;    // "title|text|style"
};

class SessionTest : public SiteFilesTest<EnUsTest> {
protected:
    // The entries of the Power Search's price modifier list.
    static constexpr int kModifierCount = 5;

    static void SetUpTestSuite() { ensureCoreApplication(); }

    void SetUp() override {
        SiteFilesTest::SetUp();
        session_ = std::make_unique<core::Session>(&feedback_, &feedback_);
        modError::installAsSettingsFailureLog(*session_);
    }

    void TearDown() override {
        link().Disconnect();
        session_.reset();
        gConnected = false;
        settings::setFailureLog({});
        SiteFilesTest::TearDown();
    }

    core::Session& session() { return *session_; }
    sitelink::SiteLink& link() { return session_->TillsightLink(); }
    void connectSite(const QString& path = QString()) {
        ASSERT_TRUE(session_->fncConnect(path.isEmpty() ? sitePath_ : path, 0));
    }

    RecordingFeedback feedback_;
    std::unique_ptr<core::Session> session_;
};

} // namespace testsupport
