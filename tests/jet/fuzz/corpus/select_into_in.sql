SELECT tblActors.* INTO tblTemp8 IN '' FROM tblActors IN '' WHERE tblActors.fldActorCode --1 > 0;
 