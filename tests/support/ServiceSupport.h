// Services for the tests, made and checked with the service manager directly (never through the
// library under test), and removed on every path.
#pragma once

#include "TestSupport.h"

#include <windows.h>

#include <string>

namespace testsupport {

// The command line of the fixture service program FIXSVC.EXE with its behaviour options
// ("/startsteps:3 /starthint:50", "/stall", "/fail", "/stopsteps:2 /stophint:3000", "/record:<file>").
std::string FixtureServiceCommand(const std::string& options = "");

// A service name owned by one test: whoever creates the service (the test or the library), it is
// stopped and deleted when this goes, and before the test begins a leftover of that name from an
// earlier run is deleted.
class ScopedService : NoCopy {
public:
    explicit ScopedService(std::string name);
    ~ScopedService();
    const std::string& name() const { return m_name; }
    const char* c_str() const { return m_name.c_str(); }

    // Creates the service (own process, demand start) running the fixture program with options;
    // dependencies is a NUL-separated list closed by a second NUL, or null.
    bool Create(const std::string& options = "", const char* dependencies = nullptr);
    bool Start();
    // Waits up to timeoutMs for the state.
    bool WaitFor(DWORD state, DWORD timeoutMs = 5000) const;
    DWORD State() const;  // 0 when the service cannot be asked

private:
    std::string m_name;
};

// A service's configuration as the service manager holds it.
struct ServiceConfigText {
    bool found = false;
    DWORD type = 0, startType = 0, errorControl = 0;
    std::string binaryPath, group, displayName, account, description;
};
ServiceConfigText ReadServiceConfig(const std::string& name);

// Writes the DependOnService value of a service's key directly (REG_MULTI_SZ, bytes as given).
bool SetDependOnService(const std::string& service, const std::string& bytes);

}  // namespace testsupport
