// What a screen reader finds in a window.
#pragma once

#include <string>
#include <vector>

#include <dlfcn.h>
#include <wx/window.h>

namespace qmtrain::test {

// The controls that are shown, in order, as "role: name". The toolkit below wxWidgets is in the process, without its
// headers.
class AccessibleTree {
public:
    explicit AccessibleTree(const wxWindow& window) {
        Visit(Call<void*(void*)>("gtk_widget_get_accessible")(window.GetHandle()));
    }

    const std::vector<std::string>& Controls() const { return controls_; }

    std::string Text() const {
        std::string text;
        for (const std::string& control : controls_) text += control + "\n";
        return text;
    }

    // Those that a screen reader can say nothing of.
    std::string Nameless() const {
        std::string text;
        for (const std::string& control : controls_) {
            if (control.ends_with(": ")) text += control + "\n";
        }
        return text;
    }

private:
    template <class Function>
    static Function* Call(const char* name) {
        return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
    }

    static bool IsControl(const std::string& role) {
        for (const char* one : {"push button", "toggle button", "check box", "radio button", "combo box", "text",
                                "list", "table", "tree table", "spin button", "progress bar", "image"}) {
            if (role == one) return true;
        }
        return false;
    }

    static bool IsShown(void* object) {
        constexpr int kShowing = 23;  // ATK_STATE_SHOWING
        void* states = Call<void*(void*)>("atk_object_ref_state_set")(object);
        const bool shown = Call<int(void*, int)>("atk_state_set_contains_state")(states, kShowing) != 0;
        Call<void(void*)>("g_object_unref")(states);
        return shown;
    }

    void Visit(void* object) {
        if (object == nullptr || !IsShown(object)) return;
        const char* name = Call<const char*(void*)>("atk_object_get_name")(object);
        const int number = Call<int(void*)>("atk_object_get_role")(object);
        const std::string role = Call<const char*(int)>("atk_role_get_name")(number);
        if (IsControl(role)) {
            controls_.push_back(role + ": " + (name == nullptr ? "" : name));
            if (role != "list") return;  // the parts of a control are not listed
        }
        const int count = Call<int(void*)>("atk_object_get_n_accessible_children")(object);
        for (int i = 0; i < count; ++i) {
            void* child = Call<void*(void*, int)>("atk_object_ref_accessible_child")(object, i);
            Visit(child);
            if (child != nullptr) Call<void(void*)>("g_object_unref")(child);
        }
    }

    std::vector<std::string> controls_;
};

}  // namespace qmtrain::test
