#include "host/learning/start_drill.h"

#include <algorithm>

#include "core/date.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "host/practice/practice.h"
#include "host/practice/practice_window.h"
#include "ui/message_box.h"

namespace qmtrain::host {

bool StartDrill(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user, std::int32_t subject,
                std::u16string_view title, std::vector<DrillQuestion> questions) {
    try {
        questions.resize(std::min(questions.size(), kMostOfDrill));
        const std::u16string named = std::u16string(title).append(u" ") + Format(Now(), u"mm-dd hh:nn");
        const Drill drill = MakeDrill(folder, edition, subject, named, questions);
        if (drill.left_out > 0) {
            ui::Inform(parent, u"有 " + ToText(drill.left_out) + u" 道题现在的题库中没有，或者不能评分，没有放进来。",
                       title);
        }
        Practice practice(folder, drill.paper, {user, edition, Mode::Mistakes});
        Practise(parent, folder, practice);
        return true;
    } catch (const AutomationError& error) {
        ui::Inform(parent, error.Description(), title);
        return false;
    }
}

}  // namespace qmtrain::host
