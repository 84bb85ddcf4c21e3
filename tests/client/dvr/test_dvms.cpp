// The text-command method: the exact bytes a row sends, one connection per view kept for every
// search and closed with the view, and the two commands lost to a search made while the first
// one still waits for its connection.

#include "DvrTest.h"

namespace {

using namespace dvrtest;

TEST_F(DvmsTest, EachSearchSendsItsRowAsOneBareCommandOverTheViewsOwnConnection) {
    connectDemoCopy({{1, u"2003/01/05 08:04:02"_s, 3}, {2, u"2003/01/28 14:05:09"_s, 5}},
                    {u"UPDATE tblreg SET fldregcam = 3 WHERE fldregnum = 3"_s,
                     u"UPDATE tblreg SET fldregcam = 123 WHERE fldregnum = 5"_s});
    frmReportOutput* view = openReport();
    const QByteArray first = "history,2003,01,05,08,04,02,03";
    search(view, 0);
    EXPECT_EQ(listener_.waitForBytes(first.size()), first);

    const QByteArray second = "history,2003,01,28,14,05,09,123";
    search(view, 1);
    EXPECT_EQ(listener_.waitForBytes(first.size() + second.size()), first + second);
    EXPECT_EQ(listener_.connections().size(), 1) << "the connection is kept for the next search";

    search(openReport(), 0);
    EXPECT_EQ(listener_.waitForBytes(2 * first.size() + second.size()), first + second + first);
    EXPECT_EQ(listener_.connections().size(), 2) << "each view has a connection of its own";

    // Looked at before the closed view is deleted, which would close it anyway.
    const QPointer<QTcpSocket> socket = view->findChild<QTcpSocket*>(u"WinsockDVR"_s);
    closeView(view);
    ASSERT_TRUE(socket);
    EXPECT_EQ(socket->state(), QAbstractSocket::UnconnectedState);
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(DvmsTest, ASearchWhileTheLastOneStillConnectsDropsBothCommands) {
    connectDemoCopy({{1, u"2003/01/05 08:04:02"_s, 3}, {2, u"2003/01/06 09:00:00"_s, 3}},
                    {u"UPDATE tblreg SET fldregcam = 3 WHERE fldregnum = 3"_s});
    frmReportOutput* view = openReport();
    search(view, 0);
    search(view, 1);

    // The timer's second tick finds the socket closed and connects again, without sending.
    auto* socket = view->findChild<QTcpSocket*>(u"WinsockDVR"_s);
    ASSERT_TRUE(QTest::qWaitFor(
        [socket] { return socket->state() == QAbstractSocket::ConnectedState; }, kWaitMs));
    QTest::qWait(kSettleMs);
    EXPECT_EQ(listener_.all(), QByteArray());

    // The next search finds the connection made and sends at once.
    const QByteArray command = "history,2003,01,06,09,00,00,03";
    search(view, 1);
    EXPECT_EQ(listener_.waitForBytes(command.size()), command);
}

} // namespace
