// The standard method against the real viewer process: what each search asks for, and a view
// whose viewer does not answer.

#include "DvrTest.h"

#include "core/AppGlobals.h"

namespace {

using namespace dvrtest;

class StandardTest : public DvrTest {
protected:
    void SetUp() override {
        DvrTest::SetUp();
        gDVRMethod = 0;
    }
};

TEST_F(StandardTest, EachSearchAsksTheViewerForTheRecorderAccountCameraAndMomentOfItsRow) {
    ViewerProcess viewer(dir_.filePath(u"viewer.log"_s));
    ASSERT_TRUE(viewer.listening());
    main_->setDvrEndpoints({dvr::Endpoints::kDefaultDvmsPort, viewer.ipcName()});
    connectDemoCopy({{1, u"2003/01/05 08:04:02"_s, 3}, {2, u"2003/01/28 14:05:09"_s, 5}},
                    {u"UPDATE tblreg SET fldregDVRAddress = 'nvr-east.local', "
                     u"fldregdvrusername = 'night', fldregdvrpassword = 'pa ss', fldregcam = 3 "
                     u"WHERE fldregnum = 3"_s,
                     u"UPDATE tblreg SET fldregDVRAddress = NULL, fldregdvrusername = NULL, "
                     u"fldregdvrpassword = NULL, fldregcam = 123 WHERE fldregnum = 5"_s});
    frmReportOutput* view = openReport();
    search(view, 0);
    search(view, 1);
    EXPECT_EQ(viewer.waitForLog(2),
              (QStringList{u"ipc\tnvr-east.local\tnight\tpassword given\t3\t2003-01-05 08:04:02"_s,
                           u"ipc\t\t\tno password\t123\t2003-01-28 14:05:09"_s}));
    EXPECT_EQ(boxes, QStringList());
    EXPECT_EQ(logged(), QStringList());
}

TEST_F(StandardTest, AViewWhoseViewerDoesNotAnswerSaysSoOnceAndStaysUsable) {
    main_->setDvrEndpoints(
        {dvr::Endpoints::kDefaultDvmsPort,
         u"tillsight-dvr-test-nobody-%1"_s.arg(QCoreApplication::applicationPid())});
    connectDemoCopy({{1, u"2003/01/05 08:04:02"_s, 3}});
    frmReportOutput* view = openReport();
    EXPECT_EQ(boxes, QStringList{core::applicationTitle() +
                                 u"|Cannot connect to Kestrel IPC server.|0"_s});
    search(view, 0);
    closeView(view);
    EXPECT_EQ(boxes.size(), 1);
    EXPECT_EQ(logged(), QStringList());
}

} // namespace
