-- The site database, in the dialect's own vocabulary. One statement per entry, entries
-- separated by a line holding only "--".
CREATE TABLE tblActors (idfActorID COUNTER PRIMARY KEY, fldActorCode TEXT(20), fldActorlName TEXT(50), fldActorfName TEXT(50))
--
CREATE TABLE lkpActions (idfActionID COUNTER PRIMARY KEY, fldActionCode TEXT(20), fldActionDesc TEXT(100), fldactioncritical YESNO)
--
CREATE TABLE tblTrans (idftransid COUNTER PRIMARY KEY, fldTransTime DATETIME, fldtransregnum LONG, fldTransQty DOUBLE, fldTransDesc TEXT(100), fldTransPrice CURRENCY, fkyActionID LONG, fkyActorID LONG)
--
CREATE TABLE tbltransdescs (fldtransdesc TEXT(100))
--
CREATE TABLE tblreg (fldregnum LONG, fldregDVRAddress TEXT(100), fldregdvrusername TEXT(50), fldregdvrpassword TEXT(50), fldregcam LONG)
--
CREATE TABLE tblPowerSearches (idfReports2ID COUNTER PRIMARY KEY, fldreporttitle TEXT(100), fldSearchType SHORT, flddescription TEXT(100), fldAction TEXT(20), fldRegister LONG, fldModifier SHORT, fldNotAction YESNO, fldAbsVal YESNO, fldprice CURRENCY, fldClerkCode TEXT(20), fldInterval SHORT, fldStart DATETIME, fldEnd DATETIME)
--
CREATE TABLE tblfixedreports (idfFixedReportID LONG PRIMARY KEY, fldReportTitle TEXT(100), fldSQL MEMO, fldCommand YESNO, fldsubquery LONG, fldIssubquery YESNO, fldCategory TEXT(50), fldGroupFirstN SHORT)
--
CREATE TABLE tblLog (fldLogTime DATETIME, fldLogErrNumber LONG, fldLogDesc MEMO, fldLogSource TEXT(255), fldLogApp TEXT(100), fldLogModule TEXT(100), fldLogRoutine TEXT(100))
--
-- Every report narrows by time first, then joins the clerk and action rows; the register index
-- serves the register criterion and the per-register reports.
CREATE INDEX idxTransTime ON tblTrans (fldTransTime)
--
CREATE INDEX idxTransAction ON tblTrans (fkyActionID)
--
CREATE INDEX idxTransActor ON tblTrans (fkyActorID)
--
CREATE INDEX idxTransRegister ON tblTrans (fldtransregnum)
