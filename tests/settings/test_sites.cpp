#include "settings/modIni.h"
#include "settings/modSites.h"
#include "vb/Cp1252.h"

#include "settings/SiteStoreTest.h"

#include <QStringDecoder>

using namespace Qt::Literals::StringLiterals;
using namespace settings;
using testsupport::errorOf;

namespace {

const QString kKey = kPasswordKey.toString();

} // namespace

TEST_F(SiteStore, EveryFieldSurvivesSaveAndLoadInListOrder) {
    const std::vector<Site> sites{{u"Zeta"_s, u"Dialup"_s, true, 5111, u"pÄss€"_s},
                                  {u"Alpha"_s, u"till@db.example/shop"_s, false, 5432, u"x"_s}};
    for (const Site& s : sites)
        ASSERT_TRUE(fncAddSite(s.Name, s.Address, s.DUN, s.Port, s.Password));
    subSaveSites();
    restart();
    EXPECT_EQ(gSiteCount, 2);
    EXPECT_EQ(gSites, sites);
    EXPECT_EQ(fncReadIniSection(u"Zeta"_s),
              QStringList({u"Dialup"_s, u"-1"_s, u"5111"_s, fncEncryptPassword(u"pÄss€"_s, kKey),
                           QString()}));
    EXPECT_TRUE(logged.empty());
}

TEST_F(SiteStore, NamesDifferingOnlyInCaseShareTheLastWrittenSection) {
    fncAddSite(u"Store"_s, u"10.0.0.1"_s, false, 1, u"one"_s);
    fncAddSite(u"STORE"_s, u"10.0.0.2"_s, true, 2, u"two"_s);
    subSaveSites();
    restart();
    EXPECT_EQ(gSites, std::vector<Site>({{u"Store"_s, u"10.0.0.2"_s, true, 2, u"two"_s},
                                         {u"STORE"_s, u"10.0.0.2"_s, true, 2, u"two"_s}}));
}

TEST_F(SiteStore, ShortSectionsLeaveTheMissingFieldsEmpty) {
    fncAddSite(u"NoPassword"_s, u"host"_s, true, 80, QString());
    fncAddSite(u"NoAddress"_s, QString(), true, 81, u"secret"_s);
    subSaveSites();
    EXPECT_EQ(fncReadIniSection(u"NoPassword"_s).size(), 4); // three lines and the empty tail
    writeFile(readFile().replace("[Sites]\n", "[Sites]\nTwo\n") + "[two]\nhost2\nTrue\n");
    restart();
    EXPECT_EQ(gSites, std::vector<Site>({{u"Two"_s, u"host2"_s, true, 0, QString()},
                                         {u"NoPassword"_s, u"host"_s, true, 80, QString()},
                                         {u"NoAddress"_s, QString(), false, 0, QString()}}));
}

TEST_F(SiteStore, AnUnreadableValueLeavesNoSitesAndIsLogged) {
    writeFile("[Sites]\nGood\nBad\n[Good]\nhost\n0\n80\n[Bad]\nhost\n0\neighty\n");
    subLoadSites();
    EXPECT_EQ(gSiteCount, 0);
    EXPECT_EQ(fncFindSite(u"Good"_s), -1);
    EXPECT_EQ(logged, (Logged{{vb::err::TypeMismatch, u"modSites.subLoadSites"_s}}));

    // A first name longer than the section buffer leaves nothing to size the list by.
    writeFile("[Sites]\n" + QByteArray(1100, 'n') + "\n");
    restart();
    EXPECT_EQ(gSiteCount, 0);
    EXPECT_EQ(logged.back().first, vb::err::SubscriptOutOfRange);
}

TEST_F(SiteStore, NamesBeyondTheSectionBufferAreLostOnTheNextSave) {
    for (int i = 0; i < 30; ++i)
        fncAddSite(u"Site %1 "_s.arg(i, 2, 10, QChar(u'0')) + QString(32, u'.'), u"h"_s, false, 1,
                   {});
    subSaveSites();
    restart();
    // 41 characters a name with its NUL: 24 whole names fit, the cut 25th is dropped.
    EXPECT_EQ(gSiteCount, 24);
    subSaveSites();
    EXPECT_EQ(fncReadIniSection(u"Sites"_s).size(), 25);
}

TEST_F(SiteStore, AnEmptyListIsSavedAsItsPlaceholderAndASiteMayTakeAFixedSection) {
    writeFile("[Sites]\nOld\n[DVR]\nMethod=1\n");
    subSaveSites();
    restart();
    EXPECT_EQ(gSiteCount, 0);
    EXPECT_EQ(gSites, std::vector<Site>{Site{}});
    EXPECT_EQ(fncGetIniInt(u"DVR"_s, u"Method"_s, 0, file), 1);

    fncAddSite(u"dvr"_s, u"host"_s, false, 1, {});
    subSaveSites();
    EXPECT_EQ(fncGetIniInt(u"DVR"_s, u"Method"_s, 0, file), 0);
}

TEST_F(SiteStore, ASaveRewritesEachSiteSectionAtTheEndThenTheList) {
    // A file from the old platform: its code page and line ends.
    writeFile(
        "; Caf\xe9\r\n[DVR]\r\nMethod=1\r\n[Printing]\r\nEnablePreview=-1\r\n[Sites]\r\nGone\r\n"
        "[Gone]\r\nold\r\n[store]\r\nstale\r\n");
    fncAddSite(u"Store"_s, u"10.0.0.1"_s, false, 5432, u"pw"_s);
    fncAddSite(u"STORE"_s, u"10.0.0.2"_s, true, 1, {});
    fncAddSite(u"printing"_s, u"p"_s, false, 2, {});
    fncAddSite(u"Blank"_s, {}, true, 3, u"x"_s);
    subSaveSites();
    // Names differing in case share the last section written; a site meets a fixed section of
    // its name; no address leaves an empty section; a site no longer listed keeps its own.
    EXPECT_EQ(readFile(),
              "; Café\r\n[DVR]\r\nMethod=1\r\n[Gone]\r\nold\r\n[STORE]\r\n10.0.0.2\r\n-1\r\n"
              "1\r\n[printing]\r\np\r\n0\r\n2\r\n[Blank]\r\n[Sites]\r\nStore\r\nSTORE\r\n"
              "printing\r\nBlank\r\n");
    restart();
    EXPECT_EQ(gSites, std::vector<Site>({{u"Store"_s, u"10.0.0.2"_s, true, 1, {}},
                                         {u"STORE"_s, u"10.0.0.2"_s, true, 1, {}},
                                         {u"printing"_s, u"p"_s, false, 2, {}},
                                         {u"Blank"_s, {}, false, 0, {}}}));
    EXPECT_EQ(fncGetIniInt(u"Printing"_s, u"EnablePreview"_s, 0, file), 0);
    EXPECT_TRUE(logged.empty());
}

TEST_F(SiteStore, ASiteNamedSitesReadsTheListAsItsFields) {
    fncAddSite(u"sites"_s, u"host"_s, false, 1, {});
    subSaveSites();
    EXPECT_EQ(readFile(), "[Sites]\nsites\n");
    restart();
    EXPECT_EQ(gSites, std::vector<Site>({{u"sites"_s, u"sites"_s, false, 0, {}}}));

    // A second name on the list is read as the DUN flag, which fails the load.
    fncAddSite(u"Main"_s, u"host"_s, false, 1, {});
    subSaveSites();
    restart();
    EXPECT_EQ(gSiteCount, 0);
    EXPECT_EQ(logged, (Logged{{vb::err::TypeMismatch, u"modSites.subLoadSites"_s}}));
}

TEST_F(SiteStore, ADeleteAndASingleKeyReachTheFileAtOnceAndTheListStaysAsSaved) {
    fncAddSite(u"A"_s, u"ha"_s, false, 1, {});
    fncAddSite(u"B"_s, u"hb"_s, false, 2, {});
    subSaveSites();
    subDeleteSite(u"A"_s);
    subWriteIniString(u"DVR"_s, u"Method"_s, u"1"_s, fncIniFile());
    EXPECT_EQ(readFile(), "[B]\nhb\n0\n2\n[Sites]\nA\nB\n[DVR]\nMethod=1\n");
    // Without a save the deleted site comes back, its fields empty.
    restart();
    EXPECT_EQ(gSites,
              std::vector<Site>({{u"A"_s, {}, false, 0, {}}, {u"B"_s, u"hb"_s, false, 2, {}}}));
}

TEST_F(SiteStore, FindAddAndDeleteCompareNamesExactly) {
    EXPECT_EQ(fncFindSite(QString()), -1); // the placeholder is no site
    for (const auto& name : {u"A"_s, u"a"_s, u"C"_s})
        EXPECT_TRUE(fncAddSite(name, name, false, 1, {}));
    EXPECT_FALSE(fncAddSite(u"A"_s, u"other"_s, true, 3, u"p"_s));
    EXPECT_EQ(fncFindSite(u"a"_s), 1);
    subSaveSites();
    subDeleteSite(u"c"_s); // no such name: nothing changes
    subDeleteSite(u"a"_s);
    EXPECT_EQ(gSites,
              std::vector<Site>({{u"A"_s, u"A"_s, false, 1, {}}, {u"C"_s, u"C"_s, false, 1, {}}}));
    EXPECT_EQ(gSiteCount, 2);
    // The section goes at once, though "a" and "A" shared it; the list waits for the next save.
    EXPECT_TRUE(fncReadIniSection(u"A"_s).isEmpty());
    EXPECT_EQ(fncReadIniSection(u"Sites"_s).size(), 4);
}

TEST_F(SiteStore, DeletingTheLastSiteLeavesThePlaceholderForTheNextOne) {
    fncAddSite(u"A"_s, u"h"_s, false, 1, {});
    subDeleteSite(u"A"_s);
    EXPECT_EQ(gSiteCount, 0);
    EXPECT_EQ(gSites, std::vector<Site>{Site{}});
    fncAddSite(u"D"_s, u"h"_s, false, 1, {});
    EXPECT_EQ(gSites.size(), 1u);

    const SettingsFileOverride unusable(unusablePath());
    EXPECT_EQ(errorOf([] { subDeleteSite(u"D"_s); }), vb::err::PathFileAccessError);
    EXPECT_EQ(gSiteCount, 1);
    subSaveSites();
    EXPECT_EQ(logged, (Logged{{vb::err::PathFileAccessError, u"modSites.subSaveSites"_s}}));
}

TEST(PasswordScrambling, PairsOfUpperCaseDigitsInTheSingleByteCodePage) {
    // 'a' 0x61 ^ 'M' 0x4D = 0x2C and 'b' 0x62 ^ 'n' 0x6E = 0x0C; 'é' 0xE9 ^ 'M' = 0xA4 and
    // '€' 0x80 ^ 'n' = 0xEE; 'Ì' 0xCC ^ 'M' = 0x81, a code the page leaves undefined.
    EXPECT_EQ(fncEncryptPassword(u"ab"_s, kKey), u"2C0C"_s);
    EXPECT_EQ(fncEncryptPassword(u"é€"_s, kKey), u"A4EE"_s);
    EXPECT_EQ(fncEncryptPassword(u"Ì"_s, kKey), u"81"_s);
    // The key starts over after eight characters.
    const QString nine = fncEncryptPassword(QString(9, u'z'), kKey);
    EXPECT_EQ(nine.left(2), nine.mid(16, 2));
    // "2C" gives 'a'; a lone digit and a pair that is not hexadecimal are read as codes, and
    // code 0 deciphers to the key's character.
    EXPECT_EQ(fncDecryptPassword(u"2c0"_s, kKey), u"an"_s);
    EXPECT_EQ(fncDecryptPassword(u"ZZ2C"_s, kKey), u"MB"_s);
}

TEST(PasswordScrambling, EveryCodeOfThePageComesBackAndOtherCharactersDoNot) {
    QStringDecoder reference("windows-1252");
    if (!reference.isValid()) {
        GTEST_SKIP() << "no Windows-1252 codec to compare with";
    }
    for (int code = 0; code < 256; ++code) {
        const char byte = static_cast<char>(code);
        const QString expected = reference.decode(QByteArrayView(&byte, 1));
        const QChar c = vb::fromCp1252(static_cast<std::uint8_t>(code));
        if (expected != QString(QChar::ReplacementCharacter)) {
            EXPECT_EQ(QString(c), expected);
        }
        EXPECT_EQ(vb::toCp1252(c), code);
        EXPECT_EQ(fncDecryptPassword(fncEncryptPassword(c, kKey), kKey), QString(c));
    }
    // U+0080 is no character of the page (its 0x80 is the euro sign); the emoji is two halves.
    EXPECT_EQ(fncDecryptPassword(fncEncryptPassword(u"Ω\u0080😀"_s, kKey), kKey), u"????"_s);
}

TEST(HexToDec, DigitsOfEitherCaseAndNothingElse) {
    EXPECT_EQ(fncHexToDec(u"fF"_s), u"255"_s);
    EXPECT_EQ(fncHexToDec(u"7FFFFFFF"_s), u"2147483647"_s);
    EXPECT_EQ(fncHexToDec(u"FFFFFFFF"_s), u"268435455"_s); // the overflowing digit is skipped
    EXPECT_EQ(fncHexToDec(QString()), u"0"_s);
    EXPECT_EQ(fncHexToDec(u"1G"_s), u"0"_s);
    EXPECT_EQ(fncHexToDec(u"-1"_s), u"0"_s);
}

TEST_F(SiteStore, BracketsInANameReadBackOrAreRefusedBeforeTheyCanLoseSites) {
    // A file that already holds a name with "]" (written by hand, or before names were checked)
    // keeps that site and every later one across a save and a load.
    const std::vector<Site> sites{{u"Main] Street"_s, u"10.0.0.1"_s, false, 1, u"a"_s},
                                  {u"Back [Lot]"_s, u"10.0.0.2"_s, true, 2, u"b"_s},
                                  {u"Later"_s, u"10.0.0.3"_s, false, 3, u"c"_s}};
    for (const Site& s : sites)
        ASSERT_TRUE(fncAddSite(s.Name, s.Address, s.DUN, s.Port, s.Password));
    subSaveSites();
    restart();
    EXPECT_EQ(gSites, sites);
    EXPECT_TRUE(logged.empty());

    // A line of the list beginning with "[" is a header to every reader, so such a name is
    // refused; one that only holds "[" further on is a name like any other.
    const QString refusal = u"A site name cannot begin with \"[\" or contain \"]\"."_s;
    for (const QString& name : {u"[Old] Store"_s, u"  [Old Store"_s, u"Main] Street"_s, u"]"_s})
        EXPECT_EQ(siteNameRefusal(name), refusal) << name.toStdString();
    for (const QString& name : {u"Old [Store"_s, u"Store"_s, QString()})
        EXPECT_EQ(siteNameRefusal(name), std::nullopt) << name.toStdString();
}
