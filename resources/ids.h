// Numbers of the library's resources and of the dialogs' controls. Read by the resource compiler too.
#pragma once

#define IDD_EMAIL_REPORT 299
#define IDD_UPLOAD_REPORT 300
#define IDI_REPORT 128
#define IDB_BANNER 228

#define IDC_REPORT_ICON 19000
#define IDC_UPLOAD_TEXT 19001
// Made with the dialog, or while it uploads.
#define IDC_UPLOAD_PROGRESS 19002
#define IDC_UPLOAD_CONTENTS 19003
