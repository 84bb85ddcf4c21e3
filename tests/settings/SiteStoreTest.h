#pragma once

#include "settings/modSites.h"

#include "settings/SettingsFileTest.h"

#include <QString>
#include <utility>
#include <vector>

using Logged = std::vector<std::pair<int, QString>>; // error number, "module.routine"

// Each test starts as the program does, with an empty list, and records what the store logs.
class SiteStore : public SettingsFileTest {
protected:
    Logged logged;

    void SetUp() override {
        SettingsFileTest::SetUp();
        forget();
        settings::setFailureLog(
            [this](const vb::VbError& e, const QString& module, const QString& routine) {
                logged.emplace_back(e.number(), module + u'.' + routine);
            });
    }
    void TearDown() override { settings::setFailureLog({}); }

    static void forget() {
        settings::gSites = {settings::Site{}};
        settings::gSiteCount = 0;
    }
    static void restart() {
        forget();
        settings::subLoadSites();
    }
};
