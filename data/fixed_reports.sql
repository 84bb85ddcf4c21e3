-- The Fixed Reports a new site starts with, run after schema.sql. One INSERT per entry, entries
-- separated by a line holding only "--". The client replaces the <...> placeholders before a
-- template runs: the Sel forms are column expressions with their headings, the Agg forms the same
-- expressions for GROUP BY and ORDER BY, <Interval> the chosen time range, <Critical> either the
-- critical-actions condition or TRUE, <tblname> the session's own temporary table.
-- Only reports that count lines code by code take <Critical>: those are the ones the "Limit
-- Action Code reports to Critical" box is meant for, and they carry the "Action Codes" category
-- so their title says so. A report about one code ignores the box rather than go blank, and so
-- do the sales and activity reports, whose figures mean nothing over critical codes alone.
--
-- How each code counts. Every line is stored signed as it moved the till or the shelf:
--   SALE      an item rung up; quantity and price positive.
--   PRICEOVR  an item rung up at a price the clerk typed in: the line is the sale itself (one
--             item, at the price it went for), not an extra line beside a SALE. A sale line.
--   VOID      an item taken off the basket before payment; quantity and price negative.
--   LINECORR  a line rung up wrongly and taken back; quantity and price negative.
--   REFUND    an item brought back and paid back; quantity and price negative.
--   CANCEL    a whole basket taken back, on one line; quantity and price negative.
--   DISC      money off an item, on a line of its own under the item's name; price negative.
--   COUPON    money off the basket; price negative.
--             For both, the quantity of 1 is the line itself, never an item.
--   PAIDIN, PAIDOUT  cash put into or taken out of the drawer; NOSALE the drawer opened with
--             nothing sold; SIGNON, SIGNOFF a clerk's shift. None of them is a sale.
-- Sale lines are the SALE and PRICEOVR lines, gross sales their prices. Net sales, what the
-- customers paid, add the prices of every sale, VOID, LINECORR, REFUND, CANCEL, DISC and COUPON
-- line as stored. Net quantity adds the quantities of the lines that move goods: the sale lines
-- and VOID, LINECORR, REFUND and CANCEL.
--
-- Reports 7, 20 and 25 feed the Daily Summary and its charts, so each returns one text label
-- column and then numeric columns only. 20 and 25 divide by the days of the range on which the
-- store traded (the dates with any line in it), so they are counts per day over any range; a
-- shut day is no day of trade and does not thin the average.
--
-- 1: how often each clerk used each code
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (1, 'Action Code Counts by Clerk', 'SELECT <SelClk>, <SelAction>, count(*) AS [Count], sum(tblTrans.fldTransPrice) AS [Price Sum] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE <Interval> AND <Critical> GROUP BY <AggClk>, <AggAction> ORDER BY <AggClk>, <AggAction>', False, Null, False, 'Action Codes', 1)
--
-- 2: how often each register saw each code
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (2, 'Action Code Counts by Register', 'SELECT <Selreg>, <SelAction>, count(*) AS [Count], sum(tblTrans.fldTransPrice) AS [Price Sum] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE <Interval> AND <Critical> GROUP BY <Aggreg>, <AggAction> ORDER BY <Aggreg>, <AggAction>', False, Null, False, 'Action Codes', 1)
--
-- 3: each code day by day
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (3, 'Action Code Counts by Date', 'SELECT <SelDate>, <SelAction>, count(*) AS [Count], sum(tblTrans.fldTransPrice) AS [Price Sum] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE <Interval> AND <Critical> GROUP BY <AggDate>, <AggAction> ORDER BY <AggDate>, <AggAction>', False, Null, False, 'Action Codes', 1)
--
-- 4: when in the day the registers are busy, and how much of it is selling
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (4, 'Activity by Hour of Day', 'SELECT hour(tblTrans.fldTransTime) AS [Hour], count(*) AS [All Lines], Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR"), 1, 0)) AS [Sale Lines], Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR", "VOID", "LINECORR", "REFUND", "CANCEL", "DISC", "COUPON"), tblTrans.fldTransPrice, 0)) AS [Net Sales] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE <Interval> GROUP BY hour(tblTrans.fldTransTime) ORDER BY hour(tblTrans.fldTransTime)', False, Null, False, 'Activity', 0)
--
-- 5
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (5, 'Voids by Clerk', 'SELECT <SelClk>, <SelDate>, <SelTime>, <Selreg>, tblTrans.fldTransDesc AS [Description], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "VOID" AND <Interval> ORDER BY <AggClk>, <AggDate>, <AggTime>', False, Null, False, 'Voids and Refunds', 1)
--
-- 6: an open drawer with nothing sold
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (6, 'No Sales by Register', 'SELECT <Selreg>, <SelDate>, <SelTime>, <SelClk> From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "NOSALE" AND <Interval> ORDER BY <Aggreg>, <AggDate>, <AggTime>', False, Null, False, 'Drawer', 1)
--
-- 7: the Daily Summary's counts table, one column per code seen on the day
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (7, 'Code Counts by Clerk', 'TRANSFORM count(*) AS [Count]
SELECT <SelClk>
From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID 
WHERE <Interval> AND <Critical>
GROUP BY <AggClk>
ORDER BY <AggClk>
PIVOT lkpactions.fldActionCode', False, Null, False, 'Action Codes', 0)
--
-- 8
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (8, 'Refunds', 'SELECT <SelDate>, <SelTime>, <Selreg>, <SelClk>, tblTrans.fldTransDesc AS [Description], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "REFUND" AND <Interval> ORDER BY <AggDate>, <AggTime>, <Aggreg>', False, Null, False, 'Voids and Refunds', 0)
--
-- 9
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (9, 'Price Overrides by Clerk', 'SELECT <SelClk>, <SelDate>, <SelTime>, <Selreg>, tblTrans.fldTransDesc AS [Description], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "PRICEOVR" AND <Interval> ORDER BY <AggClk>, <AggDate>, <AggTime>', False, Null, False, 'Prices', 1)
--
-- 10: whatever the site marks critical, whatever the box says
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (10, 'Critical Actions by Clerk', 'SELECT <SelClk>, <SelAction>, count(*) AS [Count], sum(tblTrans.fldTransPrice) AS [Price Sum] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpactions.fldactioncritical = TRUE AND <Interval> GROUP BY <AggClk>, <AggAction> ORDER BY <AggClk>, <AggAction>', False, Null, False, 'Critical', 1)
--
-- 11
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (11, 'Sales by Register', 'SELECT <Selreg>, Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR"), 1, 0)) AS [Sale Lines], Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR"), tblTrans.fldTransPrice, 0)) AS [Gross Sales], Sum(tblTrans.fldTransPrice) AS [Net Sales] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode In ("SALE", "PRICEOVR", "VOID", "LINECORR", "REFUND", "CANCEL", "DISC", "COUPON") AND <Interval> GROUP BY <Aggreg> ORDER BY <Aggreg>', False, Null, False, 'Sales', 0)
--
-- 12
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (12, 'Discounts by Clerk', 'SELECT <SelClk>, count(*) AS [Count], sum(tblTrans.fldTransPrice) AS [Price Sum] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "DISC" AND <Interval> GROUP BY <AggClk> ORDER BY <AggClk>', False, Null, False, 'Prices', 0)
--
-- 13
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (13, 'Line Corrections by Clerk', 'SELECT <SelClk>, <SelDate>, <SelTime>, <Selreg>, tblTrans.fldTransDesc AS [Description], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "LINECORR" AND <Interval> ORDER BY <AggClk>, <AggDate>, <AggTime>', False, Null, False, 'Voids and Refunds', 1)
--
-- 14: ranked by what left the shop, so an item often taken back sinks
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (14, 'Top 25 Items Sold', 'SELECT TOP 25 tblTrans.fldTransDesc AS [Description], Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR"), tblTrans.fldTransQty, 0)) AS [Gross Qty], Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR", "VOID", "LINECORR", "REFUND", "CANCEL"), tblTrans.fldTransQty, 0)) AS [Net Qty], Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR"), tblTrans.fldTransPrice, 0)) AS [Gross Sales], Sum(tblTrans.fldTransPrice) AS [Net Sales] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode In ("SALE", "PRICEOVR", "VOID", "LINECORR", "REFUND", "CANCEL", "DISC", "COUPON") AND <Interval> GROUP BY tblTrans.fldTransDesc ORDER BY Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR", "VOID", "LINECORR", "REFUND", "CANCEL"), tblTrans.fldTransQty, 0)) DESC, tblTrans.fldTransDesc', False, Null, False, 'Sales', 0)
--
-- 15
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (15, 'Cancelled Transactions by Clerk', 'SELECT <SelClk>, <SelDate>, <SelTime>, <Selreg>, tblTrans.fldTransDesc AS [Description], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "CANCEL" AND <Interval> ORDER BY <AggClk>, <AggDate>, <AggTime>', False, Null, False, 'Voids and Refunds', 1)
--
-- 16: cash taken out of the drawer
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (16, 'Paid Outs', 'SELECT <SelDate>, <SelTime>, <Selreg>, <SelClk>, tblTrans.fldTransDesc AS [Description], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode = "PAIDOUT" AND <Interval> ORDER BY <AggDate>, <AggTime>, <Aggreg>', False, Null, False, 'Drawer', 0)
--
-- 17
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (17, 'Sales by Date', 'SELECT <SelDate>, Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR"), 1, 0)) AS [Sale Lines], Sum(IIf(lkpActions.fldActionCode In ("SALE", "PRICEOVR"), tblTrans.fldTransPrice, 0)) AS [Gross Sales], Sum(tblTrans.fldTransPrice) AS [Net Sales] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpActions.fldActionCode In ("SALE", "PRICEOVR", "VOID", "LINECORR", "REFUND", "CANCEL", "DISC", "COUPON") AND <Interval> GROUP BY <AggDate> ORDER BY <AggDate>', False, Null, False, 'Sales', 0)
--
-- 18
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (18, 'Critical Actions List', 'SELECT <SelDate>, <SelTime>, <Selreg>, <SelAction>, <SelClk>, tblTrans.fldTransDesc AS [Description], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE lkpactions.fldactioncritical = TRUE AND <Interval> ORDER BY <AggDate>, <AggTime>, <Aggreg>', False, Null, False, 'Critical', 0)
--
-- 20: the Daily Summary's per-clerk averages: each clerk's count per day of trade. The days come
-- in as a one-row table beside the join, not as a subquery in the value: the dialect engine
-- narrows every aggregate in a crosstab's value to the cell's code, a subquery's count included.
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (20, 'Average Code Counts per Day by Clerk', 'TRANSFORM count(*) / Min(Span.[Days]) AS [Per Day]
SELECT <SelClk>
From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID , (SELECT Count(*) AS [Days] FROM (SELECT DISTINCT <AggDate> From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE <Interval>) AS Traded) AS Span
WHERE <Interval> AND <Critical>
GROUP BY <AggClk>
ORDER BY <AggClk>
PIVOT lkpactions.fldActionCode', False, Null, False, 'Action Codes', 0)
--
-- 25: the average clerk per day of trade. The first stage keeps every clerk's daily counts of
-- every code, critical or not, so that the second counts the days traded and the clerks who
-- worked whatever the critical box keeps.
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (25, 'Average Clerk Code Counts per Day', 'SELECT <SelClk>, lkpactions.fldActionCode AS [Code], <SelDate>, count(*) AS [Count] INTO <tblname> From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE <Interval> GROUP BY <AggClk>, lkpactions.fldActionCode, <AggDate>', True, 26, False, 'Action Codes', 0)
--
-- 26: second stage of 25
INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) VALUES (26, 'Averaging the clerks'' code counts', 'SELECT Kept.[Code], Sum(Kept.[Count]) / (SELECT Count(*) FROM (SELECT DISTINCT [Date] FROM <tblname>) AS Days) / (SELECT Count(*) FROM (SELECT DISTINCT [Clerk] FROM <tblname>) AS Clerks) AS [Per Day] FROM <tblname> AS Kept INNER JOIN lkpActions ON Kept.[Code] = lkpActions.fldActionCode WHERE <Critical> GROUP BY Kept.[Code] ORDER BY Kept.[Code]', False, Null, True, 'Action Codes', 0)
