#include "server/note_classes.h"

#include "server/class_members.h"
#include "server/host_modal.h"
#include "server/object.h"
#include "server/qmtraininfo.h"
#include "server/record_sets.h"

namespace qmtrain::server {
namespace {

void ShowNotes(UIManageNotes& notes) {
    const HostModal modal;
    notes.ShowDlg();
}

}  // namespace

template <>
const Class& ClassOf<Note>() {
    using C = Note;
    using I = INote;
    static const Class made{u"Note",
                            CLSID_Note,
                            IID_INote,
                            {
                                QMTRAIN_PROPERTY(ClientPath),    QMTRAIN_PROPERTY(NoteID),
                                QMTRAIN_PROPERTY(Name),          QMTRAIN_READ_ONLY(CreateDate),
                                QMTRAIN_PROPERTY(IsShared),      QMTRAIN_PROPERTY(Content),
                                QMTRAIN_PROPERTY(ViewTimes),     QMTRAIN_PROPERTY(DataCode),
                                QMTRAIN_PROPERTY(QuestionRecNo), QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_PROPERTY(mSubjectCode),  QMTRAIN_CALL(Init, (&Initialise<&C::Init, C>)),
                                QMTRAIN_METHOD(GetNotesCount),   QMTRAIN_METHOD(Add),
                                QMTRAIN_METHOD(LoadFromOther),   QMTRAIN_METHOD(LoadFromID),
                                QMTRAIN_METHOD(Update),          QMTRAIN_METHOD(GetRecordset),
                                QMTRAIN_METHOD(Delete),          QMTRAIN_METHOD(IsExistNote),
                            },
                            &New<C>};
    return made;
}

template <>
const Class& ClassOf<UIManageNotes>() {
    using C = UIManageNotes;
    using I = IUIManageNotes;
    static const Class made{u"UIManageNotes",
                            CLSID_UIManageNotes,
                            IID_IUIManageNotes,
                            {
                                QMTRAIN_PROPERTY(DataMdbPath),
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_PROPERTY(TotalPath),
                                QMTRAIN_PROPERTY(LocalPaperPath),
                                QMTRAIN_PROPERTY(IsNet),
                                QMTRAIN_PROPERTY(SubjectCode),
                                QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_CALL(ShowDlg, &ShowNotes),
                            },
                            &New<C>};
    return made;
}

}  // namespace qmtrain::server
