// Registry access shared by the CTambRegistry sources: the key lists of the product's key
// generations, the one routine that walks them, and the value writers. Internal to the DLL.
//
// The single-key helpers and the writers answer the Win32 status (LONG) they got; the public
// operations turn it into their 1/0 result (failure::ResultOf). The walkers answer 1/0.
#pragma once

#include "CString.h"
#include "CTambRegistry.h"
#include "Handles.h"
#include "RegistryView.h"

#include <vector>

namespace registry {

using KeyList = std::vector<CString>;

// A product record's place: the Products key and the value name.
struct RecordPlace {
    CString key;
    CString name;
};
using RecordList = std::vector<RecordPlace>;

// ---- The fall-back lists, newest first (CTambRegistryKeys.cpp). ----
KeyList HomeDirKeys();       // HOME: ends with the 32-bit view of the product's Base key
KeyList DirectoryKeys();     // DATABASE, LOG, TEMP
KeyList BaseKeys(const char* subKey);  // each generation's Base + subKey, in DirectoryKeys' order
KeyList AgentKeys();         // Path of the client agent
KeyList AlertPathKeys();     // HOME of the alert component
KeyList AlertKeys();         // CurrentBuildNumber of the alert component
KeyList WindowsOwnerKeys();  // RegisteredOwner, RegisteredOrganization of Windows
KeyList LocalHomeKeys();     // the fixed current-generation Path key, then its Wow6432Node path
RecordList ProductRecordPlaces();                 // the product's own record
RecordList NamedRecordPlaces(const char* name);   // any product's record, 32-bit view first
RecordList RecordPlacesIn(const KeyList& keys, const char* name);  // each key's 32-bit view, then it

// One installation of the product, of this generation or an earlier one: its root key, its
// Base key, its client agent key (empty when it had none), its product record, and where its
// database agents keep their keys and records.
struct Installation {
    CString root;
    CString base;
    CString agent;
    RecordPlace record;
    CString agentsRoot;
    KeyList agentProducts;
};
using InstallationList = std::vector<Installation>;
// The product's own installation, then the earlier ones in ProductRecordPlaces' order.
InstallationList Installations();

// key + sub key, joined as given ("...\Base" + "\Path").
CString Join(const char* key, const char* subKey);

// ---- Reading (CTambRegistryStatic.cpp). ----
// The first key of the list that opens with access from root (null: HKEY_LOCAL_MACHINE).
LONG OpenFirstKey(HKEY root, const KeyList& keys, REGSAM access, UniqueKey& key);

// The text value under the first key of the list from which it is read whole; a value too
// long for the buffer, or not a text, sends the walk on to the next key. 1 when found; the
// buffer is left empty (and size as given) when no key answers.
int ReadTextFromKeys(HKEY root, const KeyList& keys, const char* value, char* buffer,
                     unsigned long& size);

// The first record of the list that reads into the 49 bytes. The record is zeroed first; 1
// when found.
int ReadRecordFromPlaces(HKEY root, const RecordList& places, tagProductStruct* record);

// ---- Writing, always to the local HKEY_LOCAL_MACHINE: the key is created as needed. A null
// text answers ERROR_INVALID_PARAMETER. ----
LONG WriteLocalValue(const char* key, const char* value, DWORD type, const BYTE* data, DWORD bytes);
LONG WriteLocalText(const char* key, const char* value, const char* text);
LONG WriteLocalNumber(const char* key, const char* value, DWORD number);

// Key trees in the product's view (RegistryView.h).
using regview::DeleteBelow;
using regview::DeleteTree;
using regview::SubKeyNames;

}  // namespace registry
