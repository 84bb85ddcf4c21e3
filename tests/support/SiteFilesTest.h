#pragma once

// A settings file and a site file of the test's own, in a folder of its own, so that no two
// tests share either. `Base` is the fixture to build on (with or without widgets).

#include "settings/SettingsPath.h"
#include "site/SiteSchema.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace testsupport {

template <typename Base> class SiteFilesTest : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        ASSERT_TRUE(dir_.isValid());
        writeSettings("");
        settingsOverride_ = std::make_unique<settings::SettingsFileOverride>(settingsPath());
        sitePath_ = dir_.filePath(QStringLiteral("log.tsite"));
        site::initSite(sitePath_, false);
    }

    void TearDown() override {
        settingsOverride_.reset();
        Base::TearDown();
    }

    QString settingsPath() const { return dir_.filePath(QStringLiteral("tillsight.ini")); }
    void writeSettings(const QByteArray& contents) {
        QFile file(settingsPath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(contents);
    }

    QTemporaryDir dir_;
    std::unique_ptr<settings::SettingsFileOverride> settingsOverride_;
    QString sitePath_;
};

} // namespace testsupport
