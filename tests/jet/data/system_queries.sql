-- Every query text the client sends to a site, each built exactly as the client builds it:
-- blanks are part of the text, including a blank at the end of a line. Entries are separated by
-- a line holding only "--"; each starts with a "-- name" line, and a text may span lines.
-- Dates in the texts: the search views write yyyy/mm/dd hh:nn:ss, the 30-day criterion starts
-- with a short date (m/d/yyyy), and the error log takes the regional date and time. The Fixed
-- Report templates are site data; those here are representative, expanded as the client
-- expands them (session 3), with the Daily Summary criteria for 28 March 2003.
--
-- lookup: products
Select fldtransdesc as [Description] from tbltransdescs order by fldtransdesc
--
-- lookup: action codes
Select distinct fldActionCode as [Code], fldActionDesc as [Description] from lkpActions order by fldactioncode
--
-- lookup: clerks
select distinct tblactors.fldactorcode as [Code], fldActorlName & ", " & tblActors.fldActorfName as [Name] from tblactors order by fldActorlName & ", " & tblActors.fldActorfName, tblActors.fldactorcode
--
-- lookup: register to camera
select fldregnum as [Register], fldregDVRAddress as [DVRAddress], fldregdvrusername as [UserName], fldregdvrpassword as [Password], fldregcam as [Camera] from tblreg order by fldregnum
--
-- status: transaction count
select count(*) from tbltrans
--
-- status: date range
select min(fldtranstime), max(fldtranstime) from tbltrans
--
-- remote log
select * from tblLog
--
-- error log insert, fixed date form
INSERT INTO tblLog  (fldLogTime, fldLogErrNumber, fldLogDesc, fldLogSource, fldLogApp, fldLogModule, fldLogRoutine) VALUES (#2003/03/23 14:05:09#, 3075, 'Syntax error (missing operator) in query expression x y.', 'TillsightNetworkClient', 'Tillsight Network Client', 'frmPowerSearch', 'subRunPowerSearch')
--
-- error log insert, regional date form, negative number, quote removed
INSERT INTO tblLog  (fldLogTime, fldLogErrNumber, fldLogDesc, fldLogSource, fldLogApp, fldLogModule, fldLogRoutine) VALUES (#3/23/2003 2:05:09 PM#, -2147217904, 'No value given for one or more required parameters; dont retry.', 'TillsightLink', 'Tillsight Network Client', 'modFixedReports', 'fncRunFixedReport')
--
-- power search: list, no criteria
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, item and register
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where (tbltrans.fldtransdesc like "CIG%")  AND tbltrans.fldtransregnum = 3 AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, action code
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where (lkpactions.fldactioncode like 'V%') AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, everything but the action code
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where not (lkpactions.fldactioncode like 'V%') AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, action code starting with Al is kept
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where (lkpactions.fldactioncode like 'Al%') AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, clerk
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where tblactors.fldactorcode  = "1234" AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, register typed as 3A
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where tbltrans.fldtransregnum = 3 AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, price greater than an empty price
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where fldtransprice  > 0 AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, price less than, ignoring negative signs
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where abs(fldtransprice)  < 12.5 AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, clerk and price equal to a negative price
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where tblactors.fldactorcode  = "1234"  AND fldtransprice  = -0.01 AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, price not equal to
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where fldtransprice  <> 3.5 AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: list, every criterion, previous 24 hours
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], tblActors.fldActorCode AS [Login], tblActors.fldActorlName & ", " & tblActors.fldActorfName AS [Name] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where (tbltrans.fldtransdesc like "CIG%")  AND not (lkpactions.fldactioncode like 'V%')  AND tblactors.fldactorcode  = "1234"  AND tbltrans.fldtransregnum = 12  AND abs(fldtransprice)  <> 12.5 AND  tblTrans.fldTransTime between #2003/03/23 14:05:09# AND #2003/03/24 14:05:09#  Order By tblTrans.fldTransTime, idftransid 
--
-- power search: summary by clerk, no criteria
select tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode as [Clerk], count(*) as [Count], sum(fldtransqty) as [Qty Sum], sum(fldtransprice) as [Price Sum] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/30 00:00:00# group By tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode 
--
-- power search: summary by clerk, item and clerk
select tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode as [Clerk], count(*) as [Count], sum(fldtransqty) as [Qty Sum], sum(fldtransprice) as [Price Sum] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where (tbltrans.fldtransdesc like "LOTTO%")  AND tblactors.fldactorcode  = "1234" AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/30 00:00:00# group By tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode 
--
-- power search: summary by register, no criteria
select tbltrans.fldtransregnum as [Register], count(*) as [Count], sum(fldtransqty) as [Qty Sum], sum(fldtransprice) as [Price Sum]  From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/30 00:00:00# group By fldtransregnum 
--
-- power search: summary by register, action code and price
select tbltrans.fldtransregnum as [Register], count(*) as [Count], sum(fldtransqty) as [Qty Sum], sum(fldtransprice) as [Price Sum]  From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID Where (lkpactions.fldactioncode like 'VOID')  AND fldtransprice  > 100 AND  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/30 00:00:00# group By fldtransregnum 
--
-- saved searches: list
select * from tblPowerSearches order by fldreporttitle
--
-- saved searches: look-up by title
select * from tblPowerSearches where ucase$(fldreporttitle) = 'SHIFT A'
--
-- saved searches: delete by title
Delete * from tblPowerSearches where ucase$(fldreporttitle) = 'SHIFT A'
--
-- saved searches: insert, clerk only
insert into tblPowerSearches (fldreporttitle, fldSearchType, fldModifier, fldNotAction, fldAbsVal, fldClerkCode, fldInterval ) VALUES ('Title', 1, 0, 0, 0, 'ABC', 1)
--
-- saved searches: insert, action ALL, register and price
insert into tblPowerSearches (fldreporttitle, fldSearchType, fldAction, fldRegister, fldModifier, fldNotAction, fldAbsVal, fldprice, fldInterval ) VALUES ('Voids', 0, 'ALL', 12, 3, 0, 0, 12.5, 4)
--
-- saved searches: insert, every criterion, Custom range
insert into tblPowerSearches (fldreporttitle, fldSearchType, flddescription, fldAction, fldRegister, fldModifier, fldNotAction, fldAbsVal, fldprice, fldClerkCode, fldInterval , fldStart, fldEnd ) VALUES ('Shift A', 2, 'CIG%', 'V%', 3, 4, 1, 1, 0.5, '1234', 9, #2003/03/23 00:00:00#, #2003/03/30 00:00:00# )
--
-- saved searches: delete by id
delete * from tblPowerSearches where idfreports2id = 17
--
-- fixed reports: list
select * from tblfixedreports order by fldReporttitle
--
-- fixed reports: drop the temporary table
DROP TABLE tblTemp3
--
-- fixed report: clerk counts, critical box cleared
SELECT tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode as [Clerk], count(*) AS [Count] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  AND TRUE GROUP BY tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode ORDER BY tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode
--
-- fixed report: every placeholder, critical box ticked
SELECT cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time], tbltrans.fldtransregnum as [Register], lkpactions.fldActionCode & " (" & lkpactions.fldactiondesc & ")" as [Code], tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode as [Clerk], tblTrans.fldTransPrice AS [Price] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE  tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00#  AND lkpactions.fldactioncritical = TRUE ORDER BY cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")), cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")), tbltrans.fldtransregnum, lkpactions.fldActionCode & " (" & lkpactions.fldactiondesc & ")", tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode
--
-- daily summary: report 7, counts by clerk on the day
TRANSFORM count(*) AS [Count]
SELECT tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode as [Clerk]
From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID
WHERE  tblTrans.fldTransTime  between #2003/03/28 00:00:00# and #2003/03/29 00:00:00# AND TRUE
GROUP BY tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode
ORDER BY tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode
PIVOT lkpactions.fldActionCode
--
-- daily summary: report 25, command stage
SELECT tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode as [Clerk], lkpactions.fldActionCode AS [Code], cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date], count(*) AS [Count] INTO tblTemp3 From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE  tblTrans.fldTransTime between #2/26/2003# and #2003/03/28 00:00:00# AND TRUE GROUP BY tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode, lkpactions.fldActionCode, cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd"))
--
-- daily summary: report 25, result stage
SELECT [Code], Sum([Count]) / 30 AS [Per Day] FROM tblTemp3 GROUP BY [Code] ORDER BY [Code]
--
-- daily summary: report 20, average counts per day by clerk
TRANSFORM Sum(1) / 30 SELECT tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode as [Clerk] From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID WHERE  tblTrans.fldTransTime between #2/26/2003# and #2003/03/28 00:00:00# AND TRUE GROUP BY tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode PIVOT lkpactions.fldActionCode & " (" & lkpactions.fldactiondesc & ")"
