// The component's log, QmTrainInfo.Log: failures are not shown to the user; their reasons stand here.
//
// An entry is two lines, each ended by CR LF: "[date time] 函数名:[function]" (the part after the bracket only when a
// function is named), then the type, a blank and the message. Date and time are written as the system's region has
// them, text is in the system's own encoding.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace qmtrain {

// The type that every error trap writes.
inline constexpr std::int32_t kLogError = 4;
// The type for a question bank that the catalogue does not name.
inline constexpr std::int32_t kLogMissingBank = 1;

// Appends one entry. Raises nothing: an entry that cannot be written is lost.
void WriteLog(std::int32_t type, std::u16string_view message, std::u16string_view function) noexcept;

// The log lies in the component's folder: that of the program, unless a host or a server has named another.
std::filesystem::path LogFile();
void SetComponentFolder(std::filesystem::path folder);

}  // namespace qmtrain
