// Resource and control identifiers of the Win32 windows. Shared by the resource script, the
// windows' code and programs that drive the windows from outside, so kept to plain #defines
// that the resource compiler understands.
#pragma once

#define IDD_IMPORTEXPORT 100
#define IDD_STARTUP 200

// frmImportExport
#define IDC_FRAMAIN 1001
#define IDC_FRALOG 1002
#define IDC_CMDEXPORTIMPORT 1003
#define IDC_CMDCLOSE 1004
#define IDC_STATUSBAR 1005
#define IDC_LBLNAMESPACEORMODEL 1006
#define IDC_LBLAVAILABLECLASSESCAPTION 1007
#define IDC_LBLSELECTEDCLASSESCAPTION 1008
#define IDC_LSTAVAILABLECLASSES 1009
#define IDC_LSTSELECTEDCLASSES 1010
#define IDC_CMDSELECT 1011
#define IDC_CMDUNSELECT 1012
#define IDC_CMDSELECTALL 1013
#define IDC_CMDUNSELECTALL 1014
#define IDC_CHKINCLUDEDATATYPE 1015
#define IDC_CHKINCLUDESYSTEM 1016
#define IDC_CHKADDTODIAGRAM 1017
#define IDC_CHKOVERRIDE 1018
#define IDC_LBLLOG 1019
#define IDC_LVWLOG 1020

// frmStartUp
#define IDC_LBLVERSION 2001
#define IDC_LBLSTARTUP 2002
#define IDC_PICSTARTUP 2003
