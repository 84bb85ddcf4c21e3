#pragma once

// A main window over a settings file of the test's own, and a site file of the test's own that
// the window's link can connect to.

#include "app/AppGlobals.h"
#include "app/frmMain.h"
#include "settings/SettingsPath.h"
#include "site/SiteSchema.h"
#include "sitelink/SiteLink.h"

#include "support/GuiTestSupport.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QTemporaryDir>
#include <memory>

namespace testsupport {

class MainWindowTest : public GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        ASSERT_TRUE(dir_.isValid());
        writeSettings("");
        settingsOverride_ = std::make_unique<settings::SettingsFileOverride>(settingsPath());
        sitePath_ = dir_.filePath(QStringLiteral("log.tsite"));
        site::initSite(sitePath_, false);
        main_ = new frmMain();
    }

    void TearDown() override {
        // Closing disconnects the link, and the window deletes itself.
        if (main_) main_->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        settingsOverride_.reset();
        GuiTest::TearDown();
    }

    QString settingsPath() const { return dir_.filePath(QStringLiteral("tillsight.ini")); }
    void writeSettings(const QByteArray& contents) {
        QFile file(settingsPath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(contents);
    }

    sitelink::SiteLink& link() { return main_->TillsightLink(); }
    void connectSite() {
        link().setRemoteAddress(sitePath_);
        link().Connect();
        ASSERT_TRUE(gConnected);
    }

    QTemporaryDir dir_;
    std::unique_ptr<settings::SettingsFileOverride> settingsOverride_;
    QString sitePath_;
    QPointer<frmMain> main_;
};

} // namespace testsupport
