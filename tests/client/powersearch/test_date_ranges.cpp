// Date ranges: the presets' arithmetic on fixed moments (weeks from Sunday, month ends, the 24
// hours to the second), the range text, the custom pickers' order checks, and the date dialog.

#include "PowerSearchTest.h"

#include "core/AppGlobals.h"

#include <QGroupBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using testsupport::at;
using testsupport::kFixedNow;

namespace {

class DateRanges : public testsupport::PowerSearchTest {
protected:
    QString start() { return view().fdtStartTime->queryText(); }
    QString end() { return view().fdtEndTime->queryText(); }
    QString message(const QString& text) const {
        return core::applicationTitle() + u'|' + text + u"|0"_s;
    }
};

struct Preset {
    double now;
    int index;
    QString start;
    QString end;
};

} // namespace

TEST_F(DateRanges, EachPresetOnFridayAfternoon) {
    const Preset presets[] = {
        {kFixedNow, 0, u"2003/03/28 00:00:00"_s, u"2003/03/29 00:00:00"_s},
        {kFixedNow, 1, u"2003/03/27 00:00:00"_s, u"2003/03/28 00:00:00"_s},
        {kFixedNow, 2, u"2003/03/27 14:05:09"_s, u"2003/03/28 14:05:09"_s},
        {kFixedNow, 3, u"2003/03/23 00:00:00"_s, u"2003/03/30 00:00:00"_s},
        {kFixedNow, 4, u"2003/03/16 00:00:00"_s, u"2003/03/23 00:00:00"_s},
        {kFixedNow, 5, u"2003/03/21 00:00:00"_s, u"2003/03/28 00:00:00"_s},
        {kFixedNow, 6, u"2003/03/01 00:00:00"_s, u"2003/04/01 00:00:00"_s},
        {kFixedNow, 7, u"2003/02/01 00:00:00"_s, u"2003/03/01 00:00:00"_s},
        {kFixedNow, 8, u"2003/02/26 00:00:00"_s, u"2003/03/28 00:00:00"_s},
        // Custom keeps the range chosen before it.
        {kFixedNow, 9, u"2003/02/26 00:00:00"_s, u"2003/03/28 00:00:00"_s},
    };
    frmPowerSearch& v = view();
    for (const Preset& p : presets) {
        v.optDateTimeRange_Click(p.index);
        EXPECT_EQ(start(), p.start) << p.index;
        EXPECT_EQ(end(), p.end) << p.index;
        EXPECT_TRUE(v.optDateTimeRange[p.index]->isChecked());
        // The view itself waits for a connection; only the pickers' own state counts here.
        EXPECT_EQ(v.fdtStartTime->isEnabledTo(v.elaInterval), p.index == 9) << p.index;
        EXPECT_EQ(v.fdtEndTime->isEnabledTo(v.elaInterval), p.index == 9) << p.index;
    }
}

TEST_F(DateRanges, SundaysMonthEndsAndYearEnds) {
    const Preset presets[] = {
        {at(2003, 3, 23, 10), 3, u"2003/03/23 00:00:00"_s, u"2003/03/30 00:00:00"_s},
        {at(2003, 3, 23, 10), 4, u"2003/03/16 00:00:00"_s, u"2003/03/23 00:00:00"_s},
        {at(2003, 3, 22, 23, 59, 59), 3, u"2003/03/16 00:00:00"_s, u"2003/03/23 00:00:00"_s},
        {at(2003, 1, 31, 12), 6, u"2003/01/01 00:00:00"_s, u"2003/02/01 00:00:00"_s},
        {at(2003, 3, 31, 12), 7, u"2003/02/01 00:00:00"_s, u"2003/03/01 00:00:00"_s},
        {at(2004, 3, 31, 12), 7, u"2004/02/01 00:00:00"_s, u"2004/03/01 00:00:00"_s},
        {at(2003, 1, 1, 0, 0, 30), 1, u"2002/12/31 00:00:00"_s, u"2003/01/01 00:00:00"_s},
        {at(2003, 1, 1, 0, 0, 30), 2, u"2002/12/31 00:00:30"_s, u"2003/01/01 00:00:30"_s},
        {at(2003, 1, 2, 8), 4, u"2002/12/22 00:00:00"_s, u"2002/12/29 00:00:00"_s},
        {at(2003, 3, 1, 8), 8, u"2003/01/30 00:00:00"_s, u"2003/03/01 00:00:00"_s},
    };
    for (const Preset& p : presets) {
        now = p.now;
        view().optDateTimeRange_Click(p.index);
        EXPECT_EQ(start(), p.start) << p.index << " at " << p.start.toStdString();
        EXPECT_EQ(end(), p.end) << p.index << " at " << p.start.toStdString();
    }
}

TEST_F(DateRanges, ThePreviousSundayKeepsTheTimeOfDay) {
    for (int day = 23; day <= 29; ++day)
        EXPECT_EQ(frmPowerSearch::fncGetPreviousSunday(at(2003, 3, day, 9, 30, 15)),
                  at(2003, 3, 23, 9, 30, 15))
            << day;
}

TEST_F(DateRanges, TheRangeTextNamesWeekdaysAndTheTimeOfDay) {
    view().optDateTimeRange_Click(3);
    EXPECT_EQ(view().fncDateRangeText(), u"Sun 3/23/2003 00:00:00 to Sun 3/30/2003 00:00:00"_s);
    EXPECT_EQ(view().fdtStartTime->text(), u"3/23/2003 00:00:00"_s);
}

TEST_F(DateRanges, CustomPicksNeverReverseTheRange) {
    frmPowerSearch& v = view();
    v.optDateTimeRange_Click(1); // 27 March to 28 March
    v.optDateTimeRange_Click(9);

    pick = at(2003, 3, 28, 0, 0, 1);
    emit v.fdtStartTime->clicked();
    EXPECT_EQ(start(), u"2003/03/27 00:00:00"_s);
    pick = at(2003, 3, 28);
    emit v.fdtStartTime->clicked(); // equal to the end: an empty range is allowed
    EXPECT_EQ(start(), u"2003/03/28 00:00:00"_s);

    pick = at(2003, 3, 27, 23, 59, 59);
    emit v.fdtEndTime->clicked();
    EXPECT_EQ(end(), u"2003/03/28 00:00:00"_s);
    pick = at(2003, 3, 30, 6, 30);
    emit v.fdtEndTime->clicked();
    EXPECT_EQ(end(), u"2003/03/30 06:30:00"_s);
    pick.reset();
    emit v.fdtEndTime->clicked(); // cancelled
    EXPECT_EQ(end(), u"2003/03/30 06:30:00"_s);

    EXPECT_EQ(boxes,
              QStringList({message(u"The start time you are trying to enter is later than the "
                                   u"current end date."_s),
                           message(u"The end time you are trying to enter is earlier than the "
                                   u"current start date."_s)}));
    ASSERT_EQ(dialogs.size(), 5u);
    EXPECT_EQ(dialogs[0].caption, u"Select start date and time"_s);
    EXPECT_EQ(dialogs[2].caption, u"Select end date and time"_s);
    for (const auto& seen : dialogs)
        EXPECT_TRUE(seen.clockShown);
}

TEST_F(DateRanges, TheTargetDateIsPickedWithoutTheClock) {
    frmPowerSearch& v = view();
    pick = at(2003, 3, 20, 17, 45);
    emit v.fdtDailySummary->clicked();
    EXPECT_EQ(v.fdtDailySummary->queryText(), u"2003/03/20 00:00:00"_s);
    pick.reset();
    emit v.fdtDailySummary->clicked();
    EXPECT_EQ(v.fdtDailySummary->queryText(), u"2003/03/20 00:00:00"_s);

    v.optDateTimeRange_Click(9);
    pick = at(2003, 3, 27, 8);
    emit v.fdtStartTime->clicked(); // the clock is back for the range
    ASSERT_EQ(dialogs.size(), 3u);
    EXPECT_EQ(dialogs[0].caption, u"Select Target Date"_s);
    EXPECT_FALSE(dialogs[0].clockShown);
    EXPECT_TRUE(dialogs[2].clockShown);
    EXPECT_EQ(start(), u"2003/03/27 08:00:00"_s);
}

TEST_F(DateRanges, TheDialogWithoutItsClockIsShorterByTheClock) {
    frmDateTime& dialog = frmDateTime::instance();
    EXPECT_EQ(&dialog, &frmDateTime::instance());
    struct Look {
        QString caption;
        int height;
        int okTop;
        int cancelTop;
        bool clock;
    };
    std::vector<Look> looks;
    frmDateTime::setModalHandler([&](frmDateTime& d) {
        looks.push_back({d.windowTitle(), d.height(), d.cmdOK->y(), d.cmdCancel->y(),
                         d.DTPicker->isVisibleTo(&d)});
        d.cmdOK_Click();
    });
    dialog.Banner = QString();
    dialog.DateTime = at(2003, 3, 20, 17, 45, 10);
    dialog.showModal();
    EXPECT_EQ(dialog.DateTime, at(2003, 3, 20, 17, 45, 10));
    dialog.Banner = u"Pick one"_s;
    dialog.HideClock = true;
    dialog.showModal();
    EXPECT_EQ(dialog.DateTime, at(2003, 3, 20)); // the time went with the clock
    EXPECT_FALSE(dialog.HideClock);              // reset when it unloaded
    EXPECT_EQ(dialog.Banner, u"Pick one"_s);

    ASSERT_EQ(looks.size(), 2u);
    EXPECT_EQ(looks[0].caption, u"Select Date and Time"_s);
    EXPECT_EQ(looks[1].caption, u"Pick one"_s);
    EXPECT_TRUE(looks[0].clock);
    EXPECT_FALSE(looks[1].clock);
    const int clock = dialog.DTPicker->height();
    EXPECT_EQ(looks[1].height, looks[0].height - clock);
    EXPECT_EQ(looks[1].okTop, looks[0].okTop - clock);
    EXPECT_EQ(looks[1].cancelTop, looks[1].okTop);
}

TEST_F(DateRanges, AnythingButOKCancels) {
    frmDateTime& dialog = frmDateTime::instance();
    const std::pair<const char*, frmDateTime::ModalHandler> closings[] = {
        {"Cancel", [](frmDateTime& d) { d.cmdCancel_Click(); }},
        {"its close box", [](frmDateTime& d) { d.close(); }},
        {"Escape", [](frmDateTime& d) { d.reject(); }},
        {"never answered", [](frmDateTime&) {}},
    };
    for (const auto& [how, handler] : closings) {
        frmDateTime::setModalHandler(handler);
        dialog.DateTime = at(2003, 3, 20, 8);
        dialog.showModal();
        EXPECT_TRUE(dialog.Cancel) << how;
        EXPECT_EQ(dialog.DateTime, at(2003, 3, 20, 8)) << how;
    }
    // The real modal loop, ended once by the close box and once by OK.
    frmDateTime::setModalHandler({});
    QTimer::singleShot(0, &dialog, [&] { dialog.close(); });
    dialog.showModal();
    EXPECT_TRUE(dialog.Cancel);
    QTimer::singleShot(0, &dialog, [&] { dialog.cmdOK->click(); });
    dialog.showModal();
    EXPECT_FALSE(dialog.Cancel);
    EXPECT_FALSE(dialog.isVisible());
}
