// A folder with everything that a candidate needs to practise: questions, papers, and on wish a history.
#pragma once

#include <cstdint>
#include <string_view>

namespace qmtrain::host {

// Makes the folder and, where they are missing, its files: Client.mdb with three candidates and two subjects, the banks
// of both editions, and the host's own database with the papers. What is there stays as it is: only empty tables are
// filled, and a file appears whole or not at all. Raises what the engine raises.
void MakeSampleData(std::u16string_view folder);

// Records `trainings` finished practices of the folder's papers in the subject, the last of them yesterday, with scores
// that rise and waver; the first time also four notes. The same seed makes the same answers. Raises the component's
// error when something cannot be recorded.
void SeedHistory(std::u16string_view folder, std::int32_t user, std::int32_t subject, int trainings, unsigned seed);

}  // namespace qmtrain::host
