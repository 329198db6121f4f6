// Calls SetupCLS.dll as an installer would: two plain functions and one class. argv[1] names an
// answer file whose passwords are scrambled by triple DES; no product is installed.
#include <SetupCLS.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    std::printf("3DES %d\n", DVSET_Is3DESEncrypt(argv[1]));
    DWORD versionBuild = 0xFFFFFFFF;
    const int verdict = DvSetIsAllowUpgrade(".", "ClientAgentNT", &versionBuild, nullptr);
    std::printf("upgrade %d %08lx\n", verdict, static_cast<unsigned long>(versionBuild));
    const CCommandLineMap args("setup.exe /Mode:Silent", '/');
    CString mode;
    const BOOL given = args.GetSwitch("Mode", mode, "");
    std::printf("switch %d %s\n", given, mode.GetString());
    return 0;
}
