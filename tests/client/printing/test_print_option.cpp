// The printing option: read at start-up, shown by its dialog, saved however the dialog closes.

#include "client/shared/MainWindowTest.h"

#include "app/frmPrintOption.h"
#include "settings/modIni.h"

#include <QAction>
#include <QCheckBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

class PrintOptionTest : public testsupport::MainWindowTest {
protected:
    QString savedOption() const {
        return settings::readProfileString(u"Printing"_s, u"EnablePreview"_s, u"(none)"_s,
                                           settingsPath());
    }

    // A new run of the program on the settings file as it is now.
    void restart() {
        main_->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        main_ = new frmMain();
    }
};

TEST_F(PrintOptionTest, TheOptionReadAtStartUpShowsInTheBoxAndOKSavesIt) {
    gEnablePreview = false;
    writeSettings("[Printing]\r\nenablePreview=1\r\n");
    restart();
    EXPECT_TRUE(gEnablePreview);

    bool shownChecked = false;
    bool onTop = false;
    QTimer::singleShot(0, main_, [&] {
        auto* dialog = main_->findChild<frmPrintOption*>();
        ASSERT_NE(dialog, nullptr);
        shownChecked = dialog->chkEnablePreview()->isChecked();
        onTop = dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
        dialog->findChild<QPushButton*>(u"cmdOK"_s)->click();
    });
    main_->menuItem(u"mnuPrinting"_s)->trigger();
    EXPECT_TRUE(shownChecked);
    EXPECT_TRUE(onTop);
    EXPECT_TRUE(gEnablePreview);
    EXPECT_EQ(savedOption(), u"-1"_s);
}

TEST_F(PrintOptionTest, TheCloseBoxAndEscapeSaveTheBoxToo) {
    gEnablePreview = false;
    {
        frmPrintOption dialog;
        EXPECT_FALSE(dialog.chkEnablePreview()->isChecked());
        dialog.show();
        dialog.chkEnablePreview()->click();
        dialog.close();
    }
    EXPECT_TRUE(gEnablePreview);
    EXPECT_EQ(savedOption(), u"-1"_s);

    frmPrintOption dialog;
    EXPECT_TRUE(dialog.chkEnablePreview()->isChecked());
    dialog.show();
    dialog.chkEnablePreview()->click();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_FALSE(gEnablePreview);
    EXPECT_EQ(savedOption(), u"0"_s);
}

} // namespace
