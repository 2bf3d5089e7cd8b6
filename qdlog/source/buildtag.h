// The build tag of this library, planted whole in its data so that a scan of the
// file finds it, and readable through GetModuleTagInfo.
#pragma once

// "MIDKIT_2.0.0.SVN72918_release20161118#121200_NoTNoW_RealLogIni"
const char* ModuleTagInfo();
