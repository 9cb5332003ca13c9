// Ids shared by the dialog template and its code; the resource compiler reads this too.
#pragma once

#define IDD_FILE_NAME_INPUT 201

#define IDC_FILE_NAME 201
#define IDC_BROWSE 202
#define IDC_FILE_NAME_LABEL 203
