// The library's handle holders that carry a rule of their own.
#include "Handles.h"

#include <gtest/gtest.h>

// Every holder compiles whole here, before the library code that will use it exists.
template class UniqueAny<handle_detail::NullInvalid<SC_HANDLE, handle_detail::CloseService>>;
template class UniqueAny<handle_detail::NullInvalid<PSID, handle_detail::FreeAllocatedSid>>;
template class UniqueAny<handle_detail::NullInvalid<LSA_HANDLE, handle_detail::ClosePolicy>>;
template class UniqueAny<handle_detail::NullInvalid<PVOID, handle_detail::FreePolicyMemory>>;
template class UniqueAny<handle_detail::NullInvalid<PACL, handle_detail::FreeLocalAs<PACL>>>;
template class UniqueAny<handle_detail::ComReference<IUnknown>>;

// A COM scope ends only the start it made: on a thread another part of the process started in
// the other mode it starts nothing, and COM stays started after it.
TEST(Handles, ComScopeBalancesOnlyItsOwnStart)
{
    ASSERT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    {
        ComScope scope(COINIT_APARTMENTTHREADED);
        EXPECT_EQ(RPC_E_CHANGED_MODE, scope.result());
        EXPECT_TRUE(scope.usable());
    }
    EXPECT_EQ(S_FALSE, CoInitializeEx(nullptr, COINIT_MULTITHREADED)) << "still started";
    CoUninitialize();
    CoUninitialize();

    {
        ComScope scope(COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
        EXPECT_EQ(S_OK, scope.result());
        EXPECT_EQ(S_FALSE, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) << "started by the scope";
        CoUninitialize();
    }
    EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED)) << "the scope's start was ended";
    CoUninitialize();
}
