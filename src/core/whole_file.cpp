#include "core/whole_file.h"

#include "core/files.h"

namespace qmtrain {

AutomationError NamedAfter(const std::filesystem::path& place, const AutomationError& error,
                           const std::filesystem::path& unfinished) {
    std::u16string text = error.Description();
    const std::u16string working = unfinished.filename().u16string();
    const std::u16string finished = place.filename().u16string();
    for (std::size_t at = text.find(working); at != text.npos; at = text.find(working, at + finished.size())) {
        text.replace(at, working.size(), finished);
    }
    return {error.Number(), error.Source(), std::move(text)};
}

void WriteWholeFile(std::u16string_view file, std::string_view bytes) {
    FileSystem& files = FileSystem::Native();
    const std::filesystem::path place = ToNativePath(file);
    const std::filesystem::path unfinished = WithEnding(place, UniqueName("-", ".new"));
    try {
        {
            const std::unique_ptr<File> open = files.Open(unfinished, OpenMode::CreateNew);
            open->WriteAt(0, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
            open->Sync();
        }
        files.Rename(unfinished, place);
    } catch (const AutomationError& error) {
        files.Remove(unfinished);
        throw NamedAfter(place, error, unfinished);
    }
}

}  // namespace qmtrain
