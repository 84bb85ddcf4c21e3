#include "vb/Regional.h"

#include "support/VbTestSupport.h"

#include <gtest/gtest.h>

using vb::Regional;
using namespace Qt::Literals::StringLiterals;

TEST(Regional, CAndPosixLocalesMeanEnUs) {
    const Regional c = Regional::fromLocale(QLocale::c());
    EXPECT_EQ(c.shortDate, u"m/d/yyyy");
    EXPECT_EQ(c.longDate, u"dddd, mmmm dd, yyyy"); // the day padded, unlike Qt's en_US form
    EXPECT_EQ(c.longTime, u"h:nn:ss AM/PM");
    EXPECT_EQ(c.decimalPoint, u".");
    EXPECT_EQ(c.currencySymbol, u"$");
    EXPECT_EQ(c.dayAbbrevs[0], u"Sun");
    EXPECT_EQ(c.monthNames[11], u"December");
    for (const char* name : {"en_US", "POSIX"})
        EXPECT_EQ(Regional::fromLocale(QLocale(QString::fromLatin1(name))).longDate, c.longDate);
}

TEST(Regional, OtherLocalesBringTheirOwnFormsInFormatsPatternLanguage) {
    const Regional de = Regional::fromLocale(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(de.decimalPoint, u",");
    EXPECT_EQ(de.thousandsSeparator, u".");
    EXPECT_EQ(de.shortDate, u"dd.mm.yyyy"); // Qt's "dd.MM.yy", with the year widened
    EXPECT_EQ(de.dateSeparator, u".");
    EXPECT_EQ(de.dayNames[0], u"Sonntag");
    EXPECT_EQ(de.monthAbbrevs[2].left(3), u"Mär");
    EXPECT_EQ(de.currencySymbol, u"€");
    EXPECT_FALSE(de.currencySymbolFirst);

    const Regional gb = Regional::fromLocale(QLocale(QLocale::English, QLocale::UnitedKingdom));
    EXPECT_EQ(gb.shortDate, u"dd/mm/yyyy");
    EXPECT_EQ(gb.timeSeparator, u":");
    EXPECT_EQ(gb.longDate, u"dddd, d mmmm yyyy"); // its own long form, day unpadded
}
