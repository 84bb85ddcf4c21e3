#pragma once

// The search view on a real main window, "now" fixed at Friday 28 March 2003 14:05:09 (the demo
// site's last day), the date dialog answered by the test, and an independent count of the demo
// site's rows straight from its SQLite file.

#include "app/frmMain.h"
#include "core/Session.h"
#include "jet/SqliteDatabase.h"
#include "link/modMain.h"
#include "queries/DateField.h"
#include "queries/frmDateTime.h"
#include "queries/frmPowerSearch.h"
#include "reports/frmReportOutput.h"
#include "vb/DateTime.h"

#include "client/shared/MainWindowTest.h"
#include "support/DemoSite.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTimeEdit>
#include <optional>
#include <sqlite3.h>

namespace testsupport {

inline double at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    return vb::dateSerial(year, month, day) + vb::timeSerial(hour, minute, second);
}

inline const double kFixedNow = at(2003, 3, 28, 14, 5, 9);

// One number from the demo site's SQLite file, read with SQLite's own SQL: an account of the
// rows that owes nothing to the dialect engine. Dates are stored as day serials.
inline long long demoScalar(const QString& sql) {
    static const auto db = jet::SqliteDatabase::open(demoSite().path);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db->handle(), sql.toUtf8().constData(), -1, &statement, nullptr) !=
        SQLITE_OK)
        return -1;
    sqlite3_step(statement);
    const long long value = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return value;
}

// Rows of the transaction join (t = tblTrans, a = tblActors, k = lkpActions) passing condition.
inline long long demoCount(const QString& condition) {
    return demoScalar(QStringLiteral("SELECT count(*) FROM tblTrans t JOIN tblActors a ON "
                                     "a.idfActorID = t.fkyActorID JOIN lkpActions k ON "
                                     "k.idfActionID = t.fkyActionID WHERE ") +
                      condition);
}

// "t.fldTransTime BETWEEN <start> AND <end>" for serials.
inline QString demoBetween(double start, double end) {
    return QStringLiteral("t.fldTransTime BETWEEN %1 AND %2")
        .arg(QString::number(start, 'g', 17), QString::number(end, 'g', 17));
}

class PowerSearchTest : public MainWindowTest {
protected:
    void SetUp() override {
        MainWindowTest::SetUp();
        previousNow_ = frmPowerSearch::setNowFunction([this] { return now; });
        previousDialog_ = frmDateTime::setModalHandler([this](frmDateTime& dialog) {
            dialogs.push_back({dialog.windowTitle(), dialog.DTPicker->isVisibleTo(&dialog)});
            if (!pick) return; // left without OK: cancelled
            const vb::DateParts p = vb::splitDate(*pick);
            dialog.calCalendar->setSelectedDate(QDate(p.year, p.month, p.day));
            if (dialog.DTPicker->isVisibleTo(&dialog))
                dialog.DTPicker->setTime(QTime(p.hour, p.minute, p.second));
            dialog.cmdOK_Click();
        });
    }

    void TearDown() override {
        frmDateTime::setModalHandler(previousDialog_);
        frmPowerSearch::setNowFunction(previousNow_);
        while (QApplication::overrideCursor())
            QApplication::restoreOverrideCursor();
        MainWindowTest::TearDown();
    }

    void connectDemo() {
        modMain::subFullConnect(*main_, demoSite().path, 0);
        ASSERT_TRUE(gConnected);
    }

    frmPowerSearch& view() { return *main_->powerSearch(); }

    // Report views shown so far, oldest first.
    QList<frmReportOutput*> reports() const {
        QList<frmReportOutput*> shown;
        for (QMdiSubWindow* w : main_->mdiArea()->subWindowList())
            if (auto* report = qobject_cast<frmReportOutput*>(w->widget())) shown << report;
        return shown;
    }

    struct DialogSeen {
        QString caption;
        bool clockShown;
    };

    double now = kFixedNow;
    std::optional<double> pick; // what the date dialog's user picks; none cancels
    std::vector<DialogSeen> dialogs;

private:
    frmPowerSearch::NowFunction previousNow_;
    frmDateTime::ModalHandler previousDialog_;
};

} // namespace testsupport
