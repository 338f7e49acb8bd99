// The DAO engine of a Windows machine behind our own interface, called by name through automation.
//
// It is used on the thread that made it, and ends with that thread's apartment. Limits against our own engine:
// Atomically() locks what it changes and not what it has read, and parts of a value (GetChunk, AppendChunk) are for
// memo and OLE fields only.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "automation/com_ptr.h"
#include "dao/system_engine.h"

namespace qmtrain::dao {

// An engine out of an object with the members of DAO's DBEngine.
std::unique_ptr<SystemEngine> MakeComEngine(automation::ComPtr<IDispatch> engine);

// Creates the first of these objects that the machine has; none when it has none of them.
std::unique_ptr<SystemEngine> MakeComEngine(std::span<const std::u16string> prog_ids);

}  // namespace qmtrain::dao
