// The method dialog: what it shows, what it saves however it is closed, and that only views
// opened afterwards take the new method.

#include "DvrTest.h"

#include "core/AppGlobals.h"
#include "reports/frmDVR.h"
#include "settings/modIni.h"

#include <QAction>
#include <QDir>
#include <QRadioButton>
#include <QTimer>

namespace {

using namespace dvrtest;

class MethodTest : public DvrTest {
protected:
    std::int32_t savedMethod() const {
        return settings::fncGetIniInt(u"DVR"_s, u"Method"_s, -1, settingsPath());
    }

    // Options > DVR, the option picked and OK pressed in the modal dialog.
    void chooseFromMenu(int method) {
        QTimer::singleShot(0, main_, [this, method] {
            auto* dialog = main_->findChild<frmDVR*>();
            dialog->optMethod(method)->click();
            dialog->findChild<QPushButton*>(u"cmdOK"_s)->click();
        });
        main_->menuItem(u"mnuDVR"_s)->trigger();
    }
};

TEST_F(MethodTest, TheDialogOpensOnTheCurrentMethodAndSavesTheChoiceHoweverItCloses) {
    for (const std::int16_t method : {0, 1}) {
        gDVRMethod = method;
        frmDVR dialog;
        EXPECT_TRUE(dialog.optMethod(method)->isChecked());
        EXPECT_FALSE(dialog.optMethod(1 - method)->isChecked());
    }
    frmDVR dialog;
    EXPECT_EQ(dialog.windowTitle(), u"DVR Connection Method"_s);
    EXPECT_EQ(dialog.optMethod(0)->text(), u"Kestrel Standard (Most DVRs)"_s);
    EXPECT_EQ(dialog.optMethod(1)->text(), u"DVMS Protocol"_s);
    EXPECT_TRUE(dialog.windowFlags() & Qt::WindowStaysOnTopHint);
    dialog.show();
    dialog.optMethod(0)->click();
    dialog.close(); // the close box saves too
    EXPECT_EQ(gDVRMethod, 0);
    EXPECT_EQ(savedMethod(), 0);

    chooseFromMenu(1);
    EXPECT_EQ(gDVRMethod, 1);
    EXPECT_EQ(savedMethod(), 1);
}

TEST_F(MethodTest, ViewsKeepTheMethodTheyOpenedWith) {
    ViewerProcess viewer(dir_.filePath(u"viewer.log"_s));
    ASSERT_TRUE(viewer.listening());
    main_->setDvrEndpoints({viewer.dvmsPort(), viewer.ipcName()});
    gDVRMethod = 0;
    connectDemoCopy({{1, u"2003/01/05 08:04:02"_s, 3}},
                    {u"UPDATE tblreg SET fldregDVRAddress = 'nvr', fldregdvrusername = 'night', "
                     u"fldregcam = 3 WHERE fldregnum = 3"_s});
    frmReportOutput* standard = openReport();
    chooseFromMenu(1);
    frmReportOutput* dvms = openReport();
    chooseFromMenu(0);

    search(dvms, 0);
    const QString dvmsLine = u"dvms\t3\t2003-01-05 08:04:02\thistory,2003,01,05,08,04,02,03"_s;
    EXPECT_EQ(viewer.waitForLog(1), QStringList{dvmsLine});
    search(standard, 0);
    EXPECT_EQ(
        viewer.waitForLog(2),
        (QStringList{dvmsLine, u"ipc\tnvr\tnight\tpassword given\t3\t2003-01-05 08:04:02"_s}));
    EXPECT_EQ(boxes, QStringList());
}

TEST_F(MethodTest, AChoiceTheFileCannotTakeHoldsForThisRunAndTheUserIsTold) {
    // A folder where the file should be: it can be neither read nor replaced.
    const QString folder = dir_.filePath(u"folder.ini"_s);
    ASSERT_TRUE(QDir().mkpath(folder));
    settings::SettingsFileOverride unwritable(folder);
    gDVRMethod = 0;
    frmDVR dialog;
    dialog.optMethod(1)->click();
    dialog.accept();
    EXPECT_EQ(gDVRMethod, 1);
    EXPECT_EQ(boxes, QStringList{core::applicationTitle() +
                                 u"|Run-time error '75':\n\nPath/File access error|16"_s});
}

} // namespace
