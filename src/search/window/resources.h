// Identifiers of the dialog's resources, for the resource compiler too.
#pragma once

#define IDD_SEARCH 200
#define IDI_HARD_DRIVE 201
#define IDI_NETWORK_DRIVE 202
#define IDI_FOLDER 203

#define IDC_MESSAGE 1001
#define IDC_LIST_LABEL 1002
#define IDC_LIST 1003
#define IDC_STATUS 1004
#define IDC_FOLDER 1005
#define IDC_SEARCH 1006

// The manifest by which the window gets the system's visual styles.
#define IDM_VISUAL_STYLES 2
