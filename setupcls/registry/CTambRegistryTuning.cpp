// The product database's type and the tuning values of database pruning and of the backup
// daemon, which the installer's dialogs collect, under the product's Base\Database key; and the
// "SmartReaction" branch of the product key, removed on uninstall.
//
// The numbers are stored as the installer hands them over: what a database type means, and the
// units of PruningTime and BackupDaemonBufferSize, belong to the installer's settings and to the
// product's services, which read them. No range is checked here.
#include "CTambRegistry.h"

#include "Failure.h"
#include "RegistryView.h"
#include "RegistryAccess.h"

const char* const CTambRegistry::m_sDaemonSize = "BackupDaemonBufferSize";
const char* const CTambRegistry::m_sPruningFlag = "EnableDatabasePruning";
const char* const CTambRegistry::m_sDelayFlag = "EnableDelayPruning";
const char* const CTambRegistry::m_sPruningDays = "PruningDays";
const char* const CTambRegistry::m_sPruningTime = "PruningTime";
const char* const CTambRegistry::m_sSmartReaction = "SmartReaction";

using namespace registry;

namespace {

CString DatabaseKey()
{
    return Join(CTambRegistry::m_sDrosvaneBaseKey, CTambRegistry::m_sDatabaseSubKey);
}

// Creates Base and Database as needed (in the product's view) and writes one REG_DWORD.
int WriteDatabaseNumber(const char* value, unsigned long number)
{
    return failure::ContainExceptions(0, [&] {
        return failure::ResultOf(WriteLocalNumber(DatabaseKey(), value, static_cast<DWORD>(number)));
    });
}

}  // namespace

int CTambRegistry::SetDrosvaneDatabase(unsigned long type) { return WriteDatabaseNumber(m_sDatabaseType, type); }
int CTambRegistry::SetBackupDaemonBufferSize(unsigned long size) { return WriteDatabaseNumber(m_sDaemonSize, size); }
int CTambRegistry::SetDatabasePruning(unsigned long on) { return WriteDatabaseNumber(m_sPruningFlag, on); }
int CTambRegistry::SetDelayPruning(unsigned long on) { return WriteDatabaseNumber(m_sDelayFlag, on); }
int CTambRegistry::SetPruningDays(unsigned long days) { return WriteDatabaseNumber(m_sPruningDays, days); }
int CTambRegistry::SetPruningTime(unsigned long time) { return WriteDatabaseNumber(m_sPruningTime, time); }

// The Database key in the product's view, or, when it cannot be opened, its Wow6432Node path (a
// 32-bit installation's key on a 64-bit system, named explicitly). A value that is not a 4-byte
// REG_DWORD answers ERROR_UNSUPPORTED_TYPE; type is set only when ERROR_SUCCESS is answered.
unsigned long CTambRegistry::GetDrosvaneDatabase(unsigned long& type)
{
    return failure::ContainExceptions<unsigned long>(ERROR_NOT_ENOUGH_MEMORY, [&] {
        const CString key = DatabaseKey();
        UniqueKey handle;
        LONG status = OpenFirstKey(HKEY_LOCAL_MACHINE, {key, Wow6432Node(key)}, KEY_READ, handle);
        DWORD kind = REG_NONE, number = 0, bytes = sizeof(number);
        if (status == ERROR_SUCCESS)
            status = RegQueryValueExA(handle.get(), m_sDatabaseType, nullptr, &kind, reinterpret_cast<BYTE*>(&number),
                                      &bytes);
        if (status == ERROR_SUCCESS && (kind != REG_DWORD || bytes != sizeof(number)))
            status = ERROR_UNSUPPORTED_TYPE;
        if (status == ERROR_SUCCESS)
            type = number;
        return static_cast<unsigned long>(status);
    });
}

// The branch's sub keys at every depth, then the branch itself; a missing branch is nothing to do.
void CTambRegistry::DeleteSmartReactionBranch()
{
    failure::ContainExceptions(0, [] {
        DeleteTree(HKEY_LOCAL_MACHINE, m_sDrosvaneKey + "\\" + m_sSmartReaction);
        return 0;
    });
}
