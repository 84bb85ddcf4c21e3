// Criteria as the core keeps them: what a save stores comes back the same on restore, stored
// values that do not fit raise the language's errors, and each query builder writes only the
// title it is handed.

#include "SessionTest.h"

#include "core/modPowerSearch.h"
#include "core/modSavedSearches.h"
#include "vb/DateTime.h"

using namespace Qt::Literals::StringLiterals;

namespace {

class SavedCriteria : public testsupport::SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        connectSite();
    }

    core::SearchCriteria restore(std::int32_t id) {
        searches_ = modSavedSearches::fncLoadSavedSearches(session());
        return modSavedSearches::fncRestoreSearch(*searches_, id, now_, kModifierCount);
    }

    int restoreError(std::int32_t id) {
        return testsupport::errorOf([&] { restore(id); });
    }

    const double now_ = vb::dateSerial(2003, 3, 28) + vb::timeSerial(15, 30, 0);
    std::shared_ptr<rs::Recordset> searches_;
};

TEST_F(SavedCriteria, EverySavedCriterionComesBackAsItWasSaved) {
    core::SearchCriteria saved;
    saved.searchType = core::SummaryByClerk;
    saved.item = u"Milk%"_s;
    saved.action = u"ALL"_s; // kept, though the search reads it as every code
    saved.notAction = core::kChecked;
    saved.clerk = u"maria"_s;
    saved.registerText = u"12"_s;
    saved.modifier = 2;
    saved.price = u"12.5"_s;
    saved.absValue = core::kChecked;
    saved.interval = 9;
    saved.start = vb::dateSerial(2003, 3, 1) + vb::timeSerial(6, 0, 0);
    saved.end = vb::dateSerial(2003, 3, 2) + vb::timeSerial(22, 15, 30);
    ASSERT_TRUE(modSavedSearches::fncSaveSearch(session(), saved, u"Everything"_s));

    const core::SearchCriteria back = restore(1);
    EXPECT_EQ(back.searchType, saved.searchType);
    EXPECT_EQ(back.item, saved.item);
    EXPECT_EQ(back.action, saved.action);
    EXPECT_EQ(back.notAction, saved.notAction);
    EXPECT_EQ(back.clerk, saved.clerk);
    EXPECT_EQ(back.registerText, saved.registerText);
    EXPECT_EQ(back.modifier, saved.modifier);
    EXPECT_EQ(back.price, saved.price);
    EXPECT_EQ(back.absValue, saved.absValue);
    EXPECT_EQ(back.interval, saved.interval);
    EXPECT_EQ(vb::linearSeconds(back.start), vb::linearSeconds(saved.start));
    EXPECT_EQ(vb::linearSeconds(back.end), vb::linearSeconds(saved.end));
    // The restored row stays current: the set is left filtered to it.
    EXPECT_EQ(searches_->filter(), u"idfReports2ID = 1"_s);
    EXPECT_EQ(modPowerSearch::fncSearchText(back).query,
              modPowerSearch::fncSearchText(saved).query);
}

// The price box takes any text; the search reads its leading number, and so must the save.
TEST_F(SavedCriteria, ASavedPriceFindsWhatTheSearchFound) {
    const QStringList typed{u"1,234.50"_s, u"3A"_s, u"abc"_s, u"12.5"_s, u"  7 5"_s};
    for (qsizetype i = 0; i < typed.size(); ++i) {
        core::SearchCriteria saved;
        saved.modifier = 1;
        saved.price = typed[i];
        ASSERT_TRUE(modSavedSearches::fncSaveSearch(session(), saved, typed[i]));
        const core::SearchCriteria back = restore(static_cast<std::int32_t>(i + 1));
        QString savedTitle, backTitle;
        EXPECT_EQ(modPowerSearch::fncWhereClause(back, backTitle),
                  modPowerSearch::fncWhereClause(saved, savedTitle))
            << typed[i].toStdString();
    }
}

TEST_F(SavedCriteria, StoredValuesOutsideTheirControlsRaiseTheLanguagesErrors) {
    const QString insert = u"INSERT INTO tblPowerSearches (fldreporttitle, fldSearchType, "
                           u"fldModifier, fldInterval) VALUES ('%1', %2, %3, %4)"_s;
    link().Execute(insert.arg(u"fine"_s).arg(7).arg(0).arg(1)); // a type past the group is a list
    link().Execute(insert.arg(u"negative type"_s).arg(-1).arg(0).arg(1));
    link().Execute(insert.arg(u"modifier"_s).arg(0).arg(kModifierCount).arg(1));
    link().Execute(insert.arg(u"interval"_s).arg(0).arg(0).arg(10));
    EXPECT_EQ(restore(1).searchType, core::List);
    EXPECT_EQ(restoreError(2), vb::err::SubscriptOutOfRange);
    EXPECT_EQ(restoreError(3), vb::err::InvalidPropertyValue);
    EXPECT_EQ(restoreError(4), vb::err::SubscriptOutOfRange);
}

TEST(SearchTitle, EachBuilderWritesOnlyTheTitleItIsGiven) {
    core::SearchCriteria criteria;
    criteria.clerk = u"maria"_s;
    criteria.searchType = core::SummaryByRegister;
    QString first = u"left over"_s;
    QString second;
    modPowerSearch::fncWhereClause(criteria, first);
    modPowerSearch::fncGroupClause(criteria, second);
    EXPECT_EQ(first, u"Clk maria"_s);
    EXPECT_EQ(second, u"By Reg"_s);
    // The whole text builds its own title, in clause order.
    EXPECT_TRUE(modPowerSearch::fncSearchText(criteria).title.startsWith(u"Clk maria, "_s));
    EXPECT_TRUE(modPowerSearch::fncSearchText(criteria).title.endsWith(u", By Reg"_s));
}

TEST(MessageBoxDefaults, TheDefaultButtonIsWhatEnterAnswers) {
    EXPECT_EQ(core::defaultButtonOf(core::vbOKOnly), core::vbOK);
    EXPECT_EQ(core::defaultButtonOf(core::vbYesNo | core::vbDefaultButton2), core::vbNo);
    EXPECT_EQ(core::defaultButtonOf(core::vbYesNoCancel | core::vbDefaultButton3), core::vbCancel);
    // A default past the last button leaves the first in focus.
    EXPECT_EQ(core::defaultButtonOf(core::vbOKCancel | core::vbDefaultButton3), core::vbOK);
}

} // namespace
