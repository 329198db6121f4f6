// SetupCLS: the setup class library of the Drosvane backup suite. Include this one header to
// reach every exported class and function.
#pragma once

#include "SetupCLSExport.h"
#include "CString.h"
#include "PathRules.h"
#include "VersionInfo.h"
#include "CLog.h"
#include "CSetupException.h"
#include "CCommandLineMap.h"
#include "SetupInfo.h"
#include "CSettings.h"
#include "CTambRegistry.h"
#include "CSetupIcf.h"
#include "CComputer.h"
#include "CService.h"
#include "FolderAccess.h"
#include "CFirewall.h"
#include "CCurrentUser.h"
#include "CSystemAccount.h"
#include "CSetupInf.h"
#include "DvSetScramble.h"
#include "DvSetUpgrade.h"
