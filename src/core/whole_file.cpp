#include "core/whole_file.h"

#include "core/error.h"
#include "core/files.h"

namespace qmtrain {

void WriteWholeFile(std::u16string_view file, std::string_view bytes) {
    FileSystem& files = FileSystem::Native();
    const std::filesystem::path place = ToNativePath(file);
    std::filesystem::path unfinished = place;
    unfinished += UniqueName("-", ".new");
    try {
        {
            const std::unique_ptr<File> open = files.Open(unfinished, OpenMode::CreateNew);
            open->WriteAt(0, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
            open->Sync();
        }
        files.Rename(unfinished, place);
    } catch (const AutomationError& error) {
        files.Remove(unfinished);
        // Users know the file by the name that it would have had.
        std::u16string text = error.Description();
        const std::u16string working = unfinished.filename().u16string();
        if (const std::size_t at = text.find(working); at != std::u16string::npos) {
            text.replace(at, working.size(), place.filename().u16string());
        }
        throw AutomationError(error.Number(), error.Source(), std::move(text));
    }
}

}  // namespace qmtrain
