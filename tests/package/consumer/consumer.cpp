// Two plain functions and one class of SetupCLS.dll. argv[1]: an answer file whose passwords are
// scrambled by triple DES. No product is installed.
#include <SetupCLS.h>

#include <cstdio>

int main(int argc, char** argv)
{
    std::printf("3DES %d\n", DVSET_Is3DESEncrypt(argc > 1 ? argv[1] : nullptr));
    DWORD versionBuild = 0xFFFFFFFF;
    const int verdict = DvSetIsAllowUpgrade(".", "ClientAgentNT", &versionBuild, nullptr);
    std::printf("upgrade %d %08lx\n", verdict, static_cast<unsigned long>(versionBuild));
    CString mode;
    const BOOL given = CCommandLineMap("setup.exe /Mode:Silent", '/').GetSwitch("Mode", mode, "");
    std::printf("switch %d %s\n", given, mode.GetString());
    return 0;
}
