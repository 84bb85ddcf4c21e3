// Saved Power Searches through the real link on a demo site: what a save writes, what a pick puts
// back into the controls, the overwrite and delete questions, and the failures kept on purpose.

#include "SavedReportsTest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kApp = u"Tillsight Network Client"_s;

class SavedSearches : public testsupport::SavedReportsTest {
protected:
    // Saves the criteria under `title`, recording what the input box was asked with.
    void saveAs(const QString& title) {
        frmPowerSearch::setInputBoxHandler(
            [this, title](const QString& prompt, const QString& caption, const QString& text) {
                inputBoxes << prompt + u'|' + caption + u'|' + text;
                return title;
            });
        view()->cmdSaveQuery_Click();
    }

    // Picks a saved search with the keyboard, which the box reports as a pick like a click.
    void pick(const QString& title) {
        QComboBox* box = view()->cboReportTitle;
        const int index = box->findText(title);
        ASSERT_GE(index, 0) << title.toStdString();
        {
            const QSignalBlocker quiet(box);
            box->setCurrentIndex(index - 1);
        }
        QTest::keyClick(box, Qt::Key_Down);
    }

    QStringList titles() const {
        QStringList list;
        for (int i = 0; i < view()->cboReportTitle->count(); ++i)
            list << view()->cboReportTitle->itemText(i);
        return list;
    }
    std::shared_ptr<rs::Recordset> stored(const QString& title) const {
        return rows(u"select * from tblPowerSearches where fldreporttitle = '"_s + title + u"'"_s);
    }
    std::size_t storedCount() const {
        return rows(u"select * from tblPowerSearches"_s)->recordCount();
    }

    QStringList inputBoxes;
};

TEST_F(SavedSearches, ACustomSearchComesBackControlByControlAndKeepsItsTitle) {
    frmPowerSearch* v = view();
    const QString clerk = vb::cstr(main_->session().grsClerks->field(0).value());
    const double start = moment(2003, 3, 23, 14, 5, 9);
    const double end = moment(2003, 3, 24, 6, 30, 0);
    v->optSearchType[1]->click();
    v->cboItem->setCurrentText(u"CIG%"_s);
    v->cboAction->setCurrentText(u"ALL"_s);
    v->chkNotActionCode->setChecked(true);
    v->cboClerk->setCurrentText(clerk);
    v->cboRegister->setCurrentText(u"12"_s);
    v->cboModifier->setCurrentIndex(3);
    v->txtPrice->setText(u"3.50"_s);
    v->chkAbsValue->setChecked(true);
    setCustomRange(start, end);
    saveAs(u"Everything"_s);
    EXPECT_EQ(inputBoxes, QStringList{u"Enter Title for report|Save Power Search|"
                                      u"Saved PowerSearches..."_s});
    EXPECT_EQ(v->cboReportTitle->currentText(), u"Saved Reports..."_s);

    v->subResetCriteria();
    v->optSearchType[2]->click();
    v->chkNotActionCode->setChecked(false);
    v->cboModifier->setCurrentIndex(1);
    v->chkAbsValue->setChecked(false);
    v->optDateTimeRange[2]->click();
    pick(u"Everything"_s);
    EXPECT_TRUE(v->optSearchType[1]->isChecked());
    EXPECT_EQ(v->cboItem->currentText(), u"CIG%"_s);
    EXPECT_EQ(v->cboAction->currentText(), u"ALL"_s);
    EXPECT_TRUE(v->chkNotActionCode->isChecked());
    EXPECT_EQ(v->cboClerk->currentText(), clerk);
    EXPECT_EQ(v->cboRegister->currentText(), u"12"_s);
    EXPECT_EQ(v->cboModifier->currentIndex(), 3);
    EXPECT_EQ(v->txtPrice->text(), u"3.5"_s); // the stored amount as text
    EXPECT_TRUE(v->chkAbsValue->isChecked());
    EXPECT_TRUE(v->optDateTimeRange[9]->isChecked());
    EXPECT_EQ(v->fdtStartTime->value(), start);
    EXPECT_EQ(v->fdtEndTime->value(), end);
    EXPECT_TRUE(v->fdtStartTime->isEnabled());

    // Restoring is no change of criteria: the pick stays until the user changes one.
    EXPECT_EQ(v->cboReportTitle->currentText(), u"Everything"_s);
    EXPECT_EQ(v->grsPowerSearches->recordCount(), 1u); // left filtered to the picked row
    v->chkAbsValue->click();
    EXPECT_EQ(v->cboReportTitle->currentIndex(), -1);
    EXPECT_EQ(v->cboReportTitle->currentText(), u"Saved PowerSearches..."_s);
}

TEST_F(SavedSearches, APresetIsStoredWithoutDatesAndComputedAnewOnRestore) {
    frmPowerSearch* v = view();
    v->optDateTimeRange[5]->click();
    const double start = v->fdtStartTime->value();
    saveAs(u"Last seven days"_s);
    const auto row = stored(u"Last seven days"_s);
    ASSERT_TRUE(rs::fncHasRecords(row));
    EXPECT_EQ(vb::clng(value(row, "fldInterval")), 5);
    EXPECT_TRUE(value(row, "fldStart").isNull() && value(row, "fldEnd").isNull());

    setCustomRange(moment(2001, 1, 1), moment(2001, 1, 2));
    pick(u"Last seven days"_s);
    EXPECT_TRUE(v->optDateTimeRange[5]->isChecked());
    EXPECT_EQ(v->fdtStartTime->value(), start);
    EXPECT_FALSE(v->fdtStartTime->isEnabled());
}

TEST_F(SavedSearches, OnlyTheColumnsWithAValueAreWritten) {
    frmPowerSearch* v = view();
    v->optSearchType[1]->click();
    v->cboClerk->setCurrentText(u"ABC"_s);
    saveAs(u"Title"_s);
    auto row = stored(u"Title"_s);
    ASSERT_TRUE(rs::fncHasRecords(row));
    EXPECT_EQ(vb::clng(value(row, "fldSearchType")), 1);
    EXPECT_EQ(vb::cstr(value(row, "fldClerkCode")), u"ABC"_s);
    EXPECT_EQ(vb::clng(value(row, "fldModifier")), 0);
    EXPECT_EQ(value(row, "fldNotAction"), vb::Variant(false));
    EXPECT_EQ(value(row, "fldAbsVal"), vb::Variant(false));
    EXPECT_EQ(vb::clng(value(row, "fldInterval")), 1);
    for (const char* empty :
         {"flddescription", "fldAction", "fldRegister", "fldprice", "fldStart", "fldEnd"})
        EXPECT_TRUE(value(row, empty).isNull()) << empty;

    // "%" means any value and "AL" is never stored; a price is stored as money.
    v->cboItem->setCurrentText(u"%"_s);
    v->cboAction->setCurrentText(u"AL"_s);
    v->cboRegister->setCurrentText(u"%"_s);
    v->txtPrice->setText(u"-0.01"_s);
    saveAs(u"Wildcards"_s);
    row = stored(u"Wildcards"_s);
    ASSERT_TRUE(rs::fncHasRecords(row));
    for (const char* empty : {"flddescription", "fldAction", "fldRegister"})
        EXPECT_TRUE(value(row, empty).isNull()) << empty;
    EXPECT_EQ(value(row, "fldprice"), vb::Variant(vb::Currency{-100}));
}

TEST_F(SavedSearches, ATitleThatDiffersOnlyInCaseIsOverwrittenAfterAskingWithNoAsDefault) {
    view()->cboClerk->setCurrentText(u"OLD"_s);
    saveAs(u"SHIFT A"_s);
    ASSERT_TRUE(boxes.isEmpty());
    view()->cboClerk->setCurrentText(u"NEW"_s);
    answer = modShared::vbNo;
    saveAs(u"Shift A"_s);
    EXPECT_EQ(boxes,
              QStringList{kApp + u"|A report called Shift A already exists. Overwrite?|"_s +
                          QString::number(modShared::vbYesNo + modShared::vbDefaultButton2)});
    EXPECT_EQ(titles(), QStringList{u"SHIFT A"_s});

    answer = modShared::vbYes;
    saveAs(u"Shift A"_s);
    EXPECT_EQ(titles(), QStringList{u"Shift A"_s});
    EXPECT_EQ(storedCount(), 1u);
    EXPECT_EQ(vb::cstr(value(stored(u"Shift A"_s), "fldClerkCode")), u"NEW"_s);
}

TEST_F(SavedSearches, NothingIsWrittenForAnEmptyAnswerOrATitleTheSiteRefuses) {
    saveAs(u"Kept"_s);
    saveAs(QString());
    EXPECT_TRUE(boxes.isEmpty());
    QSignalSpy errors(&link(), &sitelink::SiteLink::LinkError);
    saveAs(u"Bob's"_s); // the quote ends the literal early
    EXPECT_FALSE(errors.isEmpty());
    EXPECT_EQ(storedCount(), 1u);
    EXPECT_EQ(titles(), QStringList{u"Kept"_s});
}

TEST_F(SavedSearches, DeletingAsksWithTheTitleInDoubleQuotes) {
    saveAs(u"Voids"_s);
    saveAs(u"Refunds"_s);
    view()->cmdDeleteQuery_Click(); // nothing picked: nothing asked
    EXPECT_TRUE(boxes.isEmpty());

    pick(u"Voids"_s);
    answer = modShared::vbNo;
    view()->cmdDeleteQuery_Click();
    const int style = modShared::vbYesNo + modShared::vbDefaultButton2 + modShared::vbCritical;
    EXPECT_EQ(boxes,
              QStringList{kApp + u"|Are you sure you want to delete the query \"Voids\"?|"_s +
                          QString::number(style)});
    EXPECT_EQ(storedCount(), 2u);
    answer = modShared::vbYes;
    view()->cmdDeleteQuery_Click();
    EXPECT_EQ(titles(), QStringList{u"Refunds"_s});
    EXPECT_EQ(storedCount(), 1u);

    // An entry without an id sends an empty statement, which the site refuses.
    QComboBox* box = view()->cboReportTitle;
    {
        const QSignalBlocker quiet(box);
        box->addItem(u"Ghost"_s, -1);
        box->setCurrentIndex(box->count() - 1);
    }
    QSignalSpy errors(&link(), &sitelink::SiteLink::LinkError);
    view()->cmdDeleteQuery_Click();
    ASSERT_EQ(errors.size(), 1);
    EXPECT_EQ(errors.front().at(1).toInt(), 3129); // no statement at all
    EXPECT_EQ(storedCount(), 1u);
    EXPECT_EQ(titles(), QStringList{u"Refunds"_s});
}

TEST_F(SavedSearches, RowsWrittenElsewhereRestoreByTheirOwnRulesOrFail) {
    const QString insert = u"insert into tblPowerSearches (fldreporttitle, fldSearchType, "
                           u"fldModifier, fldNotAction, fldAbsVal, fldInterval) VALUES "_s;
    link().Execute(insert + u"('Bare', Null, 0, 0, 0, 1)"_s);
    link().Execute(insert + u"('Odd', 7, 0, 0, 0, 1)"_s);
    link().Execute(insert + u"('Broken', 0, Null, 0, 0, 1)"_s);
    frmPowerSearch* v = view();
    v->subLoadSavedSearches();
    for (const QString& title : {u"Bare"_s, u"Odd"_s}) {
        v->optSearchType[2]->click();
        pick(title);
        EXPECT_TRUE(v->optSearchType[0]->isChecked()) << title.toStdString();
    }
    const int broken = v->cboReportTitle->findText(u"Broken"_s);
    const std::int32_t id = v->cboReportTitle->itemData(broken).toInt();
    EXPECT_EQ(testsupport::errorOf([&] { v->subRestoreSearch(id, v->grsPowerSearches); }),
              vb::err::InvalidUseOfNull);
}

} // namespace
