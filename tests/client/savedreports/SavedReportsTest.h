#pragma once

// A connected main window over a demo site of the test's own: saved searches and Fixed Reports
// write to the site, so every test starts from a fresh copy of one demo site made per program.

#include "app/frmMain.h"
#include "core/AppGlobals.h"
#include "core/Session.h"
#include "link/modMain.h"
#include "queries/DateField.h"
#include "queries/frmPowerSearch.h"
#include "reports/frmReportOutput.h"
#include "settings/SettingsPath.h"
#include "shared/frmKestrelMessage.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"

#include "support/DemoSite.h"
#include "support/GuiTestSupport.h"

#include <QFile>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QRadioButton>
#include <QTemporaryDir>
#include <memory>

namespace testsupport {

class SavedReportsTest : public GuiTest {
protected:
    static void SetUpTestSuite() {
        GuiTest::SetUpTestSuite();
        static QTemporaryDir dir;
        if (!templateSite().isEmpty()) return;
        templateSite() = dir.filePath(QStringLiteral("template.tsite"));
        auto db = site::initSite(templateSite(), false);
        site::writeDemo(db->handle(), demoSiteOptions(), false);
    }

    void SetUp() override {
        GuiTest::SetUp();
        const QString sitePath = dir_.filePath(QStringLiteral("site.tsite"));
        ASSERT_TRUE(QFile::copy(templateSite(), sitePath));
        settingsFile_ = std::make_unique<settings::SettingsFileOverride>(
            dir_.filePath(QStringLiteral("tillsight.ini")));
        main_ = new frmMain;
        main_->show();
        modMain::subFullConnect(*main_, sitePath, 0);
        ASSERT_TRUE(gConnected);
    }

    void TearDown() override {
        frmPowerSearch::setInputBoxHandler({});
        delete main_; // the link lets go of the site
        gConnected = false;
        if (auto* message = frmKestrelMessage::instance(); message->isVisible()) message->close();
        settingsFile_.reset();
        GuiTest::TearDown();
    }

    frmPowerSearch* view() const { return main_->powerSearch(); }
    sitelink::SiteLink& link() const { return main_->TillsightLink(); }
    std::shared_ptr<rs::Recordset> rows(const QString& query) const {
        return link().OpenRecordset(query);
    }
    static vb::Variant value(const std::shared_ptr<rs::Recordset>& records, const char* name) {
        return records->field(QString::fromUtf8(name)).value();
    }
    static double moment(int year, int month, int day, int hour = 0, int minute = 0,
                         int second = 0) {
        return vb::dateSerial(year, month, day) + vb::timeSerial(hour, minute, second);
    }

    // Chooses "Custom" as the user does and sets both pickers.
    void setCustomRange(double start, double end) const {
        view()->optDateTimeRange[9]->click();
        view()->fdtStartTime->setValue(start);
        view()->fdtEndTime->setValue(end);
    }

    // The report views opened so far, oldest first.
    QList<frmReportOutput*> reportViews() const {
        QList<frmReportOutput*> views;
        for (QMdiSubWindow* sub : main_->mdiArea()->subWindowList())
            if (auto* report = qobject_cast<frmReportOutput*>(sub->widget())) views << report;
        return views;
    }

    QTemporaryDir dir_;
    std::unique_ptr<settings::SettingsFileOverride> settingsFile_;
    frmMain* main_ = nullptr;

private:
    static QString& templateSite() {
        static QString path;
        return path;
    }
};

} // namespace testsupport
