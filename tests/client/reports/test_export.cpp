#include "core/Session.h"
#include "dvr/DvrMethod.h"
#include "output/GroupingModel.h"
#include "output/clsExcel.h"
#include "reports/GridBody.h"
#include "reports/ReportGrid.h"
#include "reports/frmExportFormat.h"
#include "reports/frmReportOutput.h"
#include "shared/GuiFeedback.h"
#include "shared/ViewHost.h"
#include "shared/frmProgressBar.h"
#include "shared/modSaveAs.h"

#include "recordset/RecordsetTestData.h"
#include "support/ExportedFiles.h"
#include "support/GuiTestSupport.h"
#include "support/XlsReadBack.h"

#include <QApplication>
#include <QFile>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::date;
using rstest::lng;
using rstest::money;
using rstest::null;

namespace {

// Sales whose item names carry markup and letters beyond ASCII, with Nulls, out of clerk order.
std::shared_ptr<rs::Recordset> sales() {
    return rstest::makeRecordset(
        {{"Clerk", AdoType::VarWChar, 20},
         {"Item", AdoType::VarWChar, 40},
         {"Price", AdoType::Currency},
         {"Date", AdoType::Date}},
        {{"Zoë", "Fish & Chips <large>", money(1234.5), date("2003/03/28")},
         {"Ann", "Crème brûlée", null(), date("2003/03/27")},
         {"Zoë", "Scone", money(3.25), null()},
         {"Ann", "Tea", money(2), date("2003/03/26")}});
}

// The session a spreadsheet export works through, its feedback on screen; nothing else of a host
// is asked for here.
class SessionHost : public client::ViewHost {
public:
    core::Session& session() override { return session_; }
    void subSetStatusPanel(const QString&, const QString&) override {}
    void subShowReport(const client::ReportRequest&) override {}
    void subShowChart(const QString&, const std::shared_ptr<rs::Recordset>&) override {}
    void subShowDailySummary(double) override {}
    void subConnected() override {}
    dvr::Endpoints dvrEndpoints() const override { return {}; }

private:
    client::GuiFeedback feedback_;
    core::Session session_{&feedback_, &feedback_};
};

class ExportTest : public testsupport::GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        previousFormat_ = frmExportFormat::setModalHandler([this](frmExportFormat& dialog) {
            ++formatDialogs;
            onFormat(dialog);
        });
        previousName_ = modSaveAs::setNameHandler([this](const modSaveAs::SaveAsFormat& format) {
            filters << format.filter;
            return names.isEmpty() ? std::nullopt : std::optional<QString>(names.takeFirst());
        });
    }
    void TearDown() override {
        delete view_;
        frmExportFormat::setModalHandler(previousFormat_);
        modSaveAs::setNameHandler(previousName_);
        while (QApplication::overrideCursor())
            QApplication::restoreOverrideCursor();
        GuiTest::TearDown();
    }

    // The view grouped by clerk, the Ann group folded; with a host, it can export a spreadsheet.
    void openGroupedAndFolded(client::ViewHost* host = nullptr) {
        view_ = new frmReportOutput(host);
        view_->setReportTitle(u"Sales & Returns"_s);
        view_->setRecordset(sales());
        view_->setGroupFirstN(1);
        view_->show();
        GridBody& body = *view_->DataList()->body();
        body.setFocus();
        body.setCurrentIndex(body.indexAtLine(0));
        QTest::keyClick(&body, Qt::Key_Left);
        ASSERT_EQ(body.lineCount(), 4) << "two group lines and the other group's two rows";
    }

    // The choice made in the format dialog: the option picked, then OK.
    void choose(int option) {
        onFormat = [option](frmExportFormat& dialog) {
            dialog.optFormat(option)->setChecked(true);
            dialog.findChild<QPushButton*>(u"cmdOK"_s)->click();
        };
    }
    void exportNow() { view_->findChild<QPushButton*>(u"cmdExport"_s)->click(); }

    // What the grid shows, row by row in its order (the set is sorted by the grouping).
    std::vector<QStringList> shownRows() const {
        std::vector<QStringList> rows;
        const ReportGrid& grid = *view_->DataList();
        for (int row = 0; row < int(view_->Recordset()->recordCount()); ++row) {
            QStringList cells;
            for (int column = 0; column < grid.columnCount(); ++column)
                cells << grid.cellText(row, column);
            rows.push_back(cells);
        }
        return rows;
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    // Runs `watch` after the view has handled each progress event of the spreadsheet export, from
    // the first time the export lets events run.
    void watchProgress(std::function<void(int percent)> watch) {
        QTimer::singleShot(0, view_, [this, watch] {
            auto* excel = view_->findChild<clsExcel*>();
            ASSERT_TRUE(excel) << "events run while the export is under way";
            watch(-1);
            QObject::connect(excel, &clsExcel::OnPercentChange, [watch](int& p) { watch(p); });
        });
    }
    frmProgressBar* progressView() const { return view_->findChild<frmProgressBar*>(); }

    QTemporaryDir dir;
    SessionHost host;
    QPointer<frmReportOutput> view_;
    std::function<void(frmExportFormat&)> onFormat = [](frmExportFormat&) {};
    int formatDialogs = 0;
    QStringList names;   // what the user types in Save As, one per showing; then Cancel
    QStringList filters; // the filter of each Save As shown

private:
    frmExportFormat::ModalHandler previousFormat_;
    modSaveAs::NameHandler previousName_;
};

TEST_F(ExportTest, TheFormatDialogOpensOnTextEveryTimeAndAnswersZeroUnlessOK) {
    frmExportFormat dialog;
    EXPECT_EQ(dialog.windowTitle(), u"Export Format"_s);
    EXPECT_EQ(dialog.optFormat(0)->text(), u"Comma Delimited Text"_s);
    EXPECT_EQ(dialog.optFormat(1)->text(), u"HTML File"_s);
    EXPECT_EQ(dialog.optFormat(2)->text(), u"MS Excel Spreadsheet"_s);
    auto* ok = dialog.findChild<QPushButton*>(u"cmdOK"_s);
    auto* cancel = dialog.findChild<QPushButton*>(u"cmdCancel"_s);
    ASSERT_TRUE(ok && cancel);
    EXPECT_EQ(ok->text(), u"OK"_s);
    EXPECT_EQ(cancel->text(), u"Cancel"_s);

    for (int option = 0; option < 3; ++option) {
        dialog.show();
        EXPECT_TRUE(dialog.optFormat(0)->isChecked()) << "whatever was chosen before";
        EXPECT_EQ(dialog.Selection(), u"0"_s);
        dialog.optFormat(option)->setChecked(true);
        ok->click();
        EXPECT_EQ(dialog.Selection(), QString::number(option + 1));
        EXPECT_FALSE(dialog.isVisible());
    }
    dialog.show();
    dialog.optFormat(1)->setChecked(true);
    cancel->click();
    EXPECT_EQ(dialog.Selection(), u"0"_s);
    dialog.show();
    dialog.optFormat(2)->setChecked(true);
    dialog.close();
    EXPECT_EQ(dialog.Selection(), u"0"_s) << "the close box";
}

TEST_F(ExportTest, TextAndHtmlHoldEveryRowTheGridShowsFoldedOrNot) {
    openGroupedAndFolded();
    choose(0);
    names << path(u"sales"_s);
    exportNow();
    EXPECT_EQ(filters, QStringList{u"Text File|*.txt"_s});
    EXPECT_EQ(QApplication::overrideCursor(), nullptr) << "the hourglass is gone";
    // Grouped by clerk: Ann's rows first although her group is folded; the default text of each
    // value, Null as nothing.
    EXPECT_EQ(testsupport::fileText(path(u"sales.txt"_s)),
              u"Clerk,Item,Price,Date\r\n"
              u"Ann,Crème brûlée,,3/27/2003\r\n"
              u"Ann,Tea,2,3/26/2003\r\n"
              u"Zoë,Fish & Chips <large>,1234.5,3/28/2003\r\n"
              u"Zoë,Scone,3.25,\r\n"_s);

    choose(1);
    names << path(u"sales"_s);
    exportNow();
    EXPECT_EQ(filters.last(), u"HTML File|*.htm"_s);
    const QString html = testsupport::fileText(path(u"sales.htm"_s));
    EXPECT_TRUE(html.contains(u"<title>Sales &amp; Returns</title>"_s));
    EXPECT_TRUE(html.contains(u"Fish &amp; Chips &lt;large&gt;"_s));
    const std::vector<QStringList> shown = shownRows();
    EXPECT_EQ(testsupport::htmlDataRows(html), shown);
    EXPECT_EQ(shown[2], (QStringList{u"Zoë"_s, u"Fish & Chips <large>"_s, u"$1,234.50"_s,
                                     u"Fri, 28 Mar 2003"_s}));
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(ExportTest, CancellingEitherDialogOrASpreadsheetWithoutAHostWritesAndShowsNothing) {
    openGroupedAndFolded();
    onFormat = [](frmExportFormat& dialog) {
        dialog.findChild<QPushButton*>(u"cmdCancel"_s)->click();
    };
    exportNow();
    onFormat = [](frmExportFormat& dialog) { dialog.close(); };
    exportNow();
    EXPECT_EQ(formatDialogs, 2);
    EXPECT_TRUE(filters.isEmpty()) << "no Save As after a cancelled format";

    // A view without a host has no session to export a spreadsheet through.
    choose(2);
    exportNow();
    EXPECT_TRUE(filters.isEmpty());

    choose(0);
    exportNow(); // Save As cancelled: no name typed
    EXPECT_EQ(filters.size(), 1);
    EXPECT_TRUE(QDir(dir.path()).isEmpty());
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(ExportTest, SaveAsAsksBeforeReplacingAndRefusesAMissingFolder) {
    openGroupedAndFolded();
    const QString target = path(u"old.htm"_s);
    {
        QFile old(target);
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write("old contents");
    }
    choose(1);
    answer = modShared::vbNo;
    names << target; // then Cancel
    exportNow();
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_TRUE(boxes[0].startsWith(u"Confirm Save As|"_s + target + u" already exists."_s));
    EXPECT_EQ(filters.size(), 2) << "a No shows the dialog again";
    EXPECT_EQ(testsupport::fileText(target), u"old contents"_s);

    answer = modShared::vbYes;
    names << path(u"nowhere/x"_s) << path(u"old"_s);
    exportNow();
    ASSERT_EQ(boxes.size(), 3);
    EXPECT_TRUE(boxes[1].startsWith(u"Save As|"_s)) << "the folder does not exist";
    EXPECT_TRUE(testsupport::fileText(target).startsWith(u"<!DOCTYPE html>"_s))
        << "replaced, not appended";
    EXPECT_FALSE(testsupport::fileText(target).contains(u"old contents"_s));
}

TEST_F(ExportTest, AFailedWriteEndsSilentlyAndLeavesTheHourglass) {
    openGroupedAndFolded();
    ASSERT_TRUE(QDir(dir.path()).mkdir(u"taken.txt"_s));
    answer = modShared::vbYes;
    choose(0);
    names << path(u"taken.txt"_s) << path(u"taken.txt"_s);
    exportNow();
    exportNow();
    EXPECT_EQ(boxes.size(), 2) << "only the questions before replacing";
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);

    // The next export that works takes the hourglass away, however many failures came before.
    names << path(u"fine"_s);
    exportNow();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(QFile::exists(path(u"fine.txt"_s)));
}

// The spreadsheet is built from the set: field names, the grouping's sort order, Nulls as empty
// text, whatever the grid shows or folds.
TEST_F(ExportTest, TheSpreadsheetHoldsTheSetInItsSortOrderUnderItsFieldNames) {
    openGroupedAndFolded(&host);
    choose(2);
    names << path(u"sales"_s);
    exportNow();
    EXPECT_EQ(filters, QStringList{u"Excel Spreadsheet|*.xls"_s});
    EXPECT_EQ(QApplication::overrideCursor(), nullptr) << "the hourglass is gone";
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(progressView(), nullptr);
    EXPECT_TRUE(view_->DataList()->isEnabled());

    const testsupport::ReadBack sheet = testsupport::readBack(path(u"sales.xls"_s));
    ASSERT_EQ(sheet.rows, 5);
    ASSERT_EQ(sheet.columns, 4);
    QList<QStringList> texts;
    for (int r = 0; r < sheet.rows; ++r) {
        QStringList row;
        for (int c = 0; c < sheet.columns; ++c) {
            const QJsonValue value = sheet.at(r, c)[3];
            row << (value.isArray()
                        ? QString::fromUtf8(
                              QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact))
                        : value.toVariant().toString());
        }
        texts << row;
    }
    EXPECT_EQ(texts[0], (QStringList{u"Clerk"_s, u"Item"_s, u"Price"_s, u"Date"_s}));
    EXPECT_EQ(texts[1], (QStringList{u"Ann"_s, u"Crème brûlée"_s, u""_s, u"[2003,3,27,0,0,0]"_s}));
    EXPECT_EQ(texts[2][1], u"Tea"_s);
    EXPECT_EQ(texts[3][2], u"1234.5"_s);
    EXPECT_EQ(texts[4], (QStringList{u"Zoë"_s, u"Scone"_s, u"3.25"_s, u""_s}));
}

TEST_F(ExportTest, TheProgressViewFollowsTheExportAndACloseWaitsForTheFile) {
    openGroupedAndFolded(&host);
    choose(2);
    const QString target = path(u"sales.xls"_s);
    names << target;
    QStringList seen; // percent: bar value, caption, visible
    watchProgress([&](int percent) {
        frmProgressBar* progress = progressView();
        seen << QString::number(percent) + u": "_s +
                    (progress ? u"%1, %2, %3"_s.arg(progress->ProgressBar()->value())
                                    .arg(progress->ProgressBar()->text())
                                    .arg(progress->isVisible())
                              : u"none"_s);
        if (percent != -1) return;
        EXPECT_FALSE(view_->close()) << "the file is being written";
        EXPECT_FALSE(view_->DataList()->isEnabled()) << "no re-sort under the export";
        EXPECT_FALSE(view_->findChild<QPushButton*>(u"cmdExport"_s)->isEnabled());
        EXPECT_FALSE(QFile::exists(target));
    });
    exportNow();
    EXPECT_EQ(seen, (QStringList{
                        u"-1: 25, 25 %, 1"_s,
                        u"50: 50, 50 %, 1"_s,
                        u"75: 75, 75 %, 1"_s,
                        u"100: 100, Finalizing spreadsheet. Please be patient, this can take a "
                        u"very long time., 1"_s,
                        u"0: none"_s,
                    }));
    EXPECT_EQ(testsupport::readBack(target).rows, 5) << "the whole file, then the view closed";
    ASSERT_TRUE(view_);
    EXPECT_FALSE(view_->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(view_);
}

} // namespace
