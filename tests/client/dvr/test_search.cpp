// What a search makes of its row and the assignment table: the three ways a register has no
// camera, the table whole again for the next search, and the failures that only the site's log
// hears of.

#include "DvrTest.h"

namespace {

using namespace dvrtest;

TEST_F(DvmsTest, ARegisterWithoutACameraIsToldAndTheNextSearchStartsFromTheWholeTable) {
    // The demo site has no register 9.
    connectDemoCopy({{1, u"2003/01/05 08:00:00"_s, 9},
                     {2, u"2003/01/05 09:00:00"_s, 4},
                     {3, u"2003/01/05 10:00:00"_s, 3}},
                    {u"UPDATE tblreg SET fldregcam = NULL WHERE fldregnum = 4"_s,
                     u"UPDATE tblreg SET fldregcam = 3 WHERE fldregnum = 3"_s});
    frmReportOutput* view = openReport();
    search(view, 0);
    search(view, 1);
    EXPECT_EQ(boxes, QStringList(2, noCameraBox()));
    const QByteArray command = "history,2003,01,05,10,00,00,03";
    search(view, 2);
    EXPECT_EQ(listener_.waitForBytes(command.size()), command);

    boxes.clear();
    frmReportOutput* noAssignments =
        openReport(searchColumns(), link().OpenRecordset(u"select * from tblreg where 1 = 0"_s));
    search(noAssignments, 2);
    EXPECT_EQ(boxes, QStringList{noCameraBox()}) << "an empty table, even for a register with one";
    EXPECT_EQ(logged(), QStringList());
}

TEST_F(DvmsTest, FailuresGoToTheSitesLogAndTheUserIsNotTold) {
    connectDemoCopy({{1, u"2003/01/05 08:04:02"_s, 3}});
    // Fixed Report templates call the register "Register"; a search wants "Reg".
    search(openReport(searchColumns(u"tbltrans.fldtransregnum as [Register]"_s)), 0);
    search(openReport(searchColumns(u"'seven' as [Reg]"_s)), 0);
    EXPECT_EQ(boxes, QStringList());
    EXPECT_EQ(logged(), (QStringList{u"3265|frmReportOutput|subDVRSearch"_s,
                                     u"13|frmReportOutput|subDVRSearch"_s}));

    // A view given no table says there is no camera, then fails clearing the table's filter.
    search(openReport(searchColumns(), nullptr), 0);
    EXPECT_EQ(boxes, QStringList{noCameraBox()});
    EXPECT_EQ(logged().size(), 3);
    EXPECT_EQ(logged().value(2), u"91|frmReportOutput|subDVRSearch"_s);
}

} // namespace
