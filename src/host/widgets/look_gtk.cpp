#include <dlfcn.h>

#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// What wxWidgets does not do here the toolkit below it does; it is in the process, without its headers.
class Toolkit {
public:
    static const Toolkit& Instance() {
        static const Toolkit instance;
        return instance;
    }

    void Name(void* widget, const char* name, int role) const {
        if (get_accessible_ == nullptr || set_name_ == nullptr || set_role_ == nullptr) return;
        NameObject(get_accessible_(widget), name, role);
    }

    void Margin(void* scroller, int across, int down) const {
        if (bin_child_ == nullptr) return;
        void* view = bin_child_(scroller);
        const auto set = [view](void (*one)(void*, int), int value) {
            if (one != nullptr && view != nullptr) one(view, value);
        };
        set(set_left_, across);
        set(set_right_, across);
        set(set_top_, down);
        set(set_bottom_, down);
    }

private:
    template <class Function>
    static void Find(Function*& function, const char* name) {
        function = reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
    }

    Toolkit() {
        Find(get_accessible_, "gtk_widget_get_accessible");
        Find(set_name_, "atk_object_set_name");
        Find(set_role_, "atk_object_set_role");
        Find(count_, "atk_object_get_n_accessible_children");
        Find(child_, "atk_object_ref_accessible_child");

        Find(get_role_, "atk_object_get_role");
        Find(unref_, "g_object_unref");
        Find(bin_child_, "gtk_bin_get_child");
        Find(set_left_, "gtk_text_view_set_left_margin");
        Find(set_right_, "gtk_text_view_set_right_margin");
        Find(set_top_, "gtk_text_view_set_top_margin");
        Find(set_bottom_, "gtk_text_view_set_bottom_margin");
    }

    // What scrolls is a frame around the part that takes the focus.
    void NameObject(void* object, const char* name, int role) const {
        if (object == nullptr) return;
        set_name_(object, name);
        if (role != kOwnRole) set_role_(object, role);
        if (get_role_(object) != kScrollPane || count_(object) == 0) return;
        void* inner = child_(object, 0);
        if (inner == nullptr) return;
        set_name_(inner, name);
        if (role != kOwnRole) set_role_(inner, role);
        unref_(inner);
    }

    static constexpr int kScrollPane = 48;  // ATK_ROLE_SCROLL_PANE
    static constexpr int kOwnRole = -1;
    void* (*get_accessible_)(void*) = nullptr;
    void (*set_name_)(void*, const char*) = nullptr;
    void (*set_role_)(void*, int) = nullptr;
    int (*count_)(void*) = nullptr;
    void* (*child_)(void*, int) = nullptr;
    int (*get_role_)(void*) = nullptr;
    void (*unref_)(void*) = nullptr;
    void* (*bin_child_)(void*) = nullptr;
    void (*set_left_)(void*, int) = nullptr;
    void (*set_right_)(void*, int) = nullptr;
    void (*set_top_)(void*, int) = nullptr;
    void (*set_bottom_)(void*, int) = nullptr;
};

// ATK's numbers.
int NumberOf(Role role) {
    switch (role) {
        case Role::Own: return -1;
        case Role::RadioButton: return 43;
        case Role::CheckBox: return 7;
        case Role::List: return 30;
        case Role::Bar: return 41;
        case Role::Picture: return 26;
    }
    return -1;
}

}  // namespace

void SetSpokenName(wxWindow& window, std::u16string_view name, Role role) {
    Toolkit::Instance().Name(window.GetHandle(), ui::ToWx(name).utf8_str(), NumberOf(role));
}

void SetInnerMargin(wxTextCtrl& text) {
    Toolkit::Instance().Margin(text.GetHandle(), ui::kGap, ui::kTiny);
}

}  // namespace qmtrain::host
