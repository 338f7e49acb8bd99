// Notes of two candidates in three banks of both editions; one bank is in no catalogue.
#pragma once

#include "core/format.h"
#include "notes/note_lists.h"
#include "notes/notes_tree.h"
#include "review/review_fixture.h"

namespace qmtrain::test {

class NotesTest : public ReviewTest {
protected:
    NotesTest() {
        AddPaper();
        for (const std::u16string_view catalogue : {u"Total.mdb", u"LocalPaper.mdb"}) {
            const dao::Connection database(File(catalogue));
            database->Execute(u"DELETE FROM Tbl_Subject");
            database->Execute(u"INSERT INTO Tbl_Subject VALUES ('VB', 1, 'Vb.mdb', 'VB & SQL')");
            database->Execute(u"INSERT INTO Tbl_Subject VALUES ('3', 1, 'Vb.mdb', '第三题库')");
        }
        AddNote(u"选择", u"VB", u"000101", 5, 7);
        AddNote(kLongName, u"VB", u"000201", 2, 7);
        AddNote(u"判断", u"VB", u"000301", 0, 7);
        AddNote(u"填空", u"VB", u"000401", 9, 7);
        AddNote(u"操作", u"VB", u"000501", 10, 7);
        AddNote(u"独立", u"3", u"000101", 1, 7);
        AddNote(u"别人的", u"NO", u"000101", 1, 8, 2);
    }

    // A note of that day of April 2005 (0: without a date) that has been viewed four times.
    void AddNote(std::u16string_view name, std::u16string_view code, std::u16string_view rec_no, int day,
                 std::int32_t user, std::int32_t subject = 1) const {
        const auto database = Open();
        const auto notes = database->OpenRecordset(u"Select * From Notes");
        notes->AddNew();
        notes->Fields(u"Name").Value(name);
        notes->Fields(u"Content").Value(std::u16string(name).append(u"\r\n第二行"));
        notes->Fields(u"CreateUserID").Value(user);
        notes->Fields(u"SubjectCode").Value(subject);
        if (day > 0) notes->Fields(u"CreateDate").Value(FromCivil({2005, 4, day, 8, 30, 0}));
        notes->Fields(u"ViewTimes").Value(std::int32_t{4});
        notes->Fields(u"DataCode").Value(code);
        notes->Fields(u"QuestionRecNo").Value(rec_no);
        notes->Update();
    }

    notes::NotesSource NotesOf(bool is_net, std::int32_t subject = -1, std::int32_t user = -1) const {
        return {{.client_path = Path(),
                 .data_mdb_path = Path(),
                 .local_paper_mdb = File(u"LocalPaper.mdb"),
                 .is_net = is_net,
                 .user_id = user,
                 .subject_code = subject},
                Path()};
    }

    std::u16string Views() const { return Column(u"Select ViewTimes From Notes Order By NoteID", u"ViewTimes"); }

    // The operations that have left an entry in the log so far.
    std::string LoggedFunctions() const {
        std::string functions;
        for (const LogEntry& entry : Log()) functions += (functions.empty() ? "" : " ") + entry.function;
        return functions;
    }

    inline static const std::u16string kLongName = u"名" + std::u16string(39, u'x');
    inline static const std::u16string kLongNameShown = u"名" + std::u16string(37, u'x') + u"...";
};

}  // namespace qmtrain::test
