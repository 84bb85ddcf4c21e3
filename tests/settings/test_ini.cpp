#include "settings/HelpMail.h"
#include "settings/SettingsPath.h"
#include "settings/modIni.h"

#include "settings/SettingsFileTest.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;
using namespace settings;
using testsupport::errorOf;

namespace {

constexpr QChar kNul = u'\0';

// A "Sites" section of count distinct lines of the given width.
QByteArray sectionOfLines(int count, int width) {
    QByteArray text = "[Sites]\n";
    for (int i = 0; i < count; ++i)
        text += QByteArray::number(i).rightJustified(width, 'x') + '\n';
    return text;
}

} // namespace

using ProfileReading = SettingsFileTest;
using ProfileWriting = SettingsFileTest;

TEST_F(ProfileReading, NamesMatchWithoutRegardToCaseAndIntegersKeepTheirSign) {
    writeFile("[dvr]\r\n method = 1 \r\n[ Printing ]\r\nEnablePreview=-1\r\n"
              "[Odd]\r\nlead=12ab\r\nnone=ab\r\nempty=\r\n");
    EXPECT_EQ(fncGetIniInt(u"DVR"_s, u"Method"_s, 0, file), 1);
    EXPECT_EQ(fncGetIniInt(u"printing"_s, u"enablePreview"_s, 0, file), -1);
    EXPECT_EQ(fncGetIniInt(u"ODD"_s, u"lead"_s, 7, file), 12);
    EXPECT_EQ(fncGetIniInt(u"Odd"_s, u"none"_s, 7, file), 0);
    EXPECT_EQ(fncGetIniInt(u"Odd"_s, u"empty"_s, 7, file), 7);
    EXPECT_EQ(fncGetIniInt(u"Odd"_s, u"missing"_s, 7, file), 7);
    EXPECT_EQ(fncGetIniInt(u"DVR"_s, u"Method"_s, 3, dir.filePath(u"absent.ini"_s)), 3);
}

TEST_F(ProfileReading, ASectionIsItsLinesInOrderWithAnEmptyTail) {
    writeFile("[Sites]\n  First  \n\nkey = value\nSecond\n[Other]\nThird\n[Empty]\n");
    EXPECT_EQ(fncReadIniSection(u"sites"_s),
              QStringList({u"First"_s, u"key = value"_s, u"Second"_s, QString()}));
    EXPECT_TRUE(fncReadIniSection(u"Empty"_s).isEmpty());
    EXPECT_TRUE(fncReadIniSection(u"Missing"_s).isEmpty());
}

TEST_F(ProfileReading, TheBufferCutsALongSectionTwoCharactersShortOfItsSize) {
    // 31 lines of 32 characters with their NULs take 1023; the closing NUL fills the buffer.
    writeFile(sectionOfLines(31, 32));
    EXPECT_EQ(fncReadIniSection(u"Sites"_s).size(), 32);

    // One character more no longer fits: the last line loses its end and its NUL.
    writeFile(sectionOfLines(30, 32) + "0123456789abcdefghijklmnopqrstuvw\n");
    const QStringList lines = fncReadIniSection(u"Sites"_s);
    EXPECT_EQ(lines.size(), 31);
    EXPECT_EQ(lines.last(), u"0123456789abcdefghijklmnopqrstuv"_s);
}

TEST_F(ProfileReading, AFileInTheOldCodePageIsRead) {
    writeFile("[Sites]\nCaf\xe9 \x80\n");
    EXPECT_EQ(fncReadIniSection(u"Sites"_s).first(), u"Café €"_s);
}

TEST_F(ProfileWriting, OnlyTheAddressedLinesChange) {
    writeFile("; kept\nloose line\n[DVR]\nMethod=0\nbare\n\n[Printing]\nenablePreview=1\n\n"
              "[Sites]\nA\n");
    subWriteIniString(u"printing"_s, u"EnablePreview"_s, u"-1"_s, file);
    subWriteIniString(u"DVR"_s, u"Colour"_s, u"red"_s, file);
    subWriteIniString(u"Help"_s, u"SupportAddress"_s, u"a@b.c"_s, file);
    EXPECT_EQ(readFile(), "; kept\nloose line\n[DVR]\nMethod=0\nbare\nColour=red\n\n[Printing]\n"
                          "EnablePreview=-1\n\n[Sites]\nA\n[Help]\nSupportAddress=a@b.c\n");
}

TEST_F(ProfileWriting, ASectionIsReplacedWholeUpToItsFirstEmptyLine) {
    writeFile("[One]\r\nold\r\nold too\r\n[Two]\r\nx\r\n");
    writeIniSection(u"ONE"_s, u"a"_s + kNul + u"b"_s + kNul + kNul + u"lost"_s + kNul);
    writeIniSection(u"Two"_s, kNul + u"lost"_s + kNul);
    writeIniSection(u"Three"_s, u"c"_s + kNul);
    EXPECT_EQ(readFile(), "[One]\r\na\r\nb\r\n[Two]\r\n[Three]\r\nc\r\n");
}

TEST_F(ProfileWriting, DeletingASectionTakesItsHeaderAndLinesWhereverItIs) {
    writeFile("top\n[Keep]\nk=1\n[sites]\nA\nB\n[Keep2]\nz\n[SITES]\nC\n");
    subDeleteIniSection(u"Sites"_s);
    EXPECT_EQ(readFile(), "top\n[Keep]\nk=1\n[Keep2]\nz\n");
}

TEST_F(ProfileWriting, AFileThatCannotBeReadOrReplacedRaises) {
    const SettingsFileOverride unusable(unusablePath());
    EXPECT_EQ(fncGetIniInt(u"DVR"_s, u"Method"_s, 4, fncIniFile()), 4);
    // Even a change that might not touch it is refused: the contents were never seen.
    EXPECT_EQ(errorOf([] { subDeleteIniSection(u"x"_s); }), vb::err::PathFileAccessError);
    EXPECT_EQ(errorOf([] { subWriteIniString(u"x"_s, u"k"_s, u"v"_s, fncIniFile()); }),
              vb::err::PathFileAccessError);
}

TEST(SettingsPath, BesideTheExecutableUnlessItsFolderCannotBeWritten) {
    const auto onlyOpt = [](const QString& folder) { return folder == u"/opt/till"_s; };
    EXPECT_EQ(settingsFilePath(u"/opt/till/tillsight"_s, onlyOpt, u"/home/u/.config"_s),
              u"/opt/till/tillsight.ini"_s);
    EXPECT_EQ(settingsFilePath(u"/usr/bin/tillsight"_s, onlyOpt, u"/home/u/.config"_s),
              u"/home/u/.config/tillsight/tillsight.ini"_s);
}

TEST(SettingsPath, AFileAlreadyBesideTheExecutableIsKeptEvenWhereNothingCanBeWritten) {
    const QTemporaryDir folder;
    const QString program = folder.filePath(u"tillsight"_s);
    const auto nowhere = [](const QString&) { return false; };
    const QString config = folder.filePath(u"config"_s);
    EXPECT_EQ(settingsFilePath(program, nowhere, config), config + u"/tillsight/tillsight.ini"_s);
    QFile beside(program + u".ini"_s);
    ASSERT_TRUE(beside.open(QIODevice::WriteOnly));
    beside.close();
    EXPECT_EQ(settingsFilePath(program, nowhere, config), program + u".ini"_s);
}

TEST(SettingsPath, TheConfigFolderFollowsAnAbsoluteXdgConfigHome) {
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", "/srv/conf/");
    EXPECT_EQ(userConfigHome(), u"/srv/conf"_s);
    qputenv("XDG_CONFIG_HOME", "relative/conf");
    EXPECT_EQ(userConfigHome(), home.path() + u"/.config"_s);
    qunsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(userConfigHome(), home.path() + u"/.config"_s);
}

TEST_F(ProfileWriting, AFirstWriteCreatesTheFolderAndLeavesNothingElseThere) {
    const QString nested = dir.filePath(u"config/tillsight/tillsight.ini"_s);
    subWriteIniString(u"DVR"_s, u"Method"_s, u"1"_s, nested);
    EXPECT_EQ(fncGetIniInt(u"DVR"_s, u"Method"_s, 0, nested), 1);
    EXPECT_EQ(QDir(dir.filePath(u"config/tillsight"_s)).entryList(QDir::Files | QDir::Hidden),
              QStringList{u"tillsight.ini"_s});
}

using HelpMail = SettingsFileTest;

TEST_F(HelpMail, AddressesComeFromTheFileOrTheirDefaults) {
    EXPECT_EQ(helpMailAddresses().support, QString::fromUtf16(kDefaultSupportAddress));
    EXPECT_EQ(helpMailAddresses().bugReport, QString::fromUtf16(kDefaultBugReportAddress));
    writeFile("[help]\nsupportaddress=desk@shop.example\nBugReportAddress=\n");
    EXPECT_EQ(helpMailAddresses().support, u"desk@shop.example"_s);
    EXPECT_EQ(helpMailAddresses().bugReport, QString::fromUtf16(kDefaultBugReportAddress));
}
