#include "notes/notes_tree.h"

#include "bank/data_info.h"
#include "core/convert.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "core/trap.h"

namespace qmtrain::notes {
namespace {

constexpr std::size_t kKindLength = 4;
constexpr std::size_t kLongName = 40;
constexpr std::size_t kShownOfLongName = 38;

std::u16string BanksQuery(std::int32_t subject_code, std::int32_t user_id) {
    const std::u16string subject = subject_code == -1 ? u"" : u" SubjectCode=" + ToText(subject_code);
    const std::u16string user = user_id == -1 ? u"" : u"CreateUserId=" + ToText(user_id);
    const std::u16string both = subject.empty() || user.empty() ? u"" : u" And ";
    const std::u16string filters = subject + both + user;
    return u"Select DataCode From Notes " + (filters.empty() ? filters : u" Where " + filters) + u" Group by DataCode";
}

std::u16string BankNotesQuery(std::u16string_view data_code, std::int32_t subject_code, std::int32_t user_id) {
    RequireNoQuote(data_code);
    std::u16string query = u"Select * From Notes Where DataCode='";
    query.append(data_code).append(u"'");
    if (user_id != -1) query += u" And CreateUserId=" + ToText(user_id);
    if (subject_code != -1) query += u" And SubjectCode=" + ToText(subject_code);
    return query += u" Order By CreateDate";
}

std::vector<NoteNode> LoadDataCodeNotes(const NotesSource& source, std::u16string_view data_code) {
    return Trapped(u"FrmNotes.LoadDataCodeNotes", std::vector<NoteNode>(), [&](std::vector<NoteNode>& nodes) {
        const auto note = InitNoteObject(source);
        if (!note) return;
        const auto rows = note->GetRecordset(BankNotesQuery(data_code, source.subject_code, source.user_id));
        for (; rows && !rows->Eof(); rows->MoveNext()) {
            const std::int32_t id = ToLong(rows->Fields(u"NoteId").Value());
            nodes.push_back({id, ShortName(TextOr(rows->Fields(u"Name").Value(), u"")),
                             LongOr(rows->Fields(u"SubjectCode").Value(), 0)});
        }
    });
}

}  // namespace

std::u16string BankKey(std::u16string_view data_code) {
    return std::u16string(u"Data").append(data_code);
}

std::u16string NoteKey(std::int32_t note_id) {
    return u"Note" + ToText(note_id);
}

NodeKind KindOf(std::u16string_view key) {
    const std::u16string kind = ToUpper(key.substr(0, kKindLength));
    if (kind == u"ROOT") return NodeKind::Root;
    if (kind == u"DATA") return NodeKind::Bank;
    return kind == u"NOTE" ? NodeKind::Note : NodeKind::Other;
}

std::optional<std::int32_t> NoteOf(std::u16string_view key) {
    if (KindOf(key) != NodeKind::Note) return std::nullopt;
    const std::u16string number(key.substr(kKindLength));
    if (!IsNumeric(number)) return std::nullopt;
    return ToLong(number);
}

std::u16string ShortName(std::u16string_view name) {
    if (name.size() < kLongName) return std::u16string(name);
    return std::u16string(name.substr(0, kShownOfLongName)).append(u"...");
}

std::shared_ptr<Note> InitNoteObject(const NotesSource& source) {
    return Trapped(u"FrmNotes.InitNoteObject:", std::shared_ptr<Note>(), [&](std::shared_ptr<Note>& result) {
        auto note = std::make_shared<Note>();
        note->ClientPath(source.client_path);
        note->mSubjectCode(source.subject_code);
        note->UserId(source.user_id);
        std::u16string problem;
        if (note->Init(problem)) result = note;
    });
}

std::vector<BankNode> LoadAllNotes(const NotesSource& source, const Note& note,
                                   std::optional<AutomationError>* problem) {
    return Trapped(u"FrmNotes.LoadAllNotes", std::vector<BankNode>(), [&](std::vector<BankNode>& banks) {
        const TrapWatch watch;
        const auto rows = note.GetRecordset(BanksQuery(source.subject_code, source.user_id));
        if (problem != nullptr) *problem = watch.First();
        DataInfo catalogue;
        catalogue.IsNet(source.is_net);
        // A missing catalogue takes the banks' names away, not the notes.
        Trapped(u"FrmNotes.LoadAllNotes", [&] {
            catalogue.LocalMdbPath(source.local_paper_mdb);
            catalogue.TotalPath(source.total_path);
            catalogue.InitDb();
        });
        for (; rows && !rows->Eof(); rows->MoveNext()) {
            const std::u16string code = TextOr(rows->Fields(u"DataCode").Value(), u"");
            const TrapWatch of_notes;
            std::vector<NoteNode> notes = LoadDataCodeNotes(source, code);
            if (problem != nullptr && !*problem) *problem = of_notes.First();
            // The network edition's catalogue has no bank of any subject: its notes tell whose it is.
            const bool of_any = source.subject_code == -1 && !notes.empty();
            const bool known =
                catalogue.LoadFromDataCode(code, of_any ? notes.front().subject_code : source.subject_code);
            banks.push_back(
                {code, known && !catalogue.Description().empty() ? catalogue.Description() : code, std::move(notes)});
        }
    });
}

}  // namespace qmtrain::notes
