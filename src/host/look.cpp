#include "host/look.h"

#include <algorithm>

#include <dlfcn.h>
#include <wx/bmpbndl.h>
#include <wx/settings.h>

#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

bool IsDark() {
    return wxSystemSettings::GetAppearance().IsUsingDarkBackground();
}

wxColour System(wxSystemColour colour) {
    return wxSystemSettings::GetColour(colour);
}

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

constexpr const char* kIcon =
    R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 64 64">
       <rect x="6" y="4" width="44" height="56" rx="6" fill="#2f6db3"/>
       <rect x="12" y="10" width="32" height="44" rx="2" fill="#fff"/>
       <path d="M18 20 H38 M18 28 H38 M18 36 H30" stroke="#9fb8d4" stroke-width="3" stroke-linecap="round"/>
       <circle cx="44" cy="44" r="16" fill="#2e9d4f" stroke="#fff" stroke-width="3"/>
       <path d="M36.5 44.5 L42 50 L52 38.5" fill="none" stroke="#fff" stroke-width="4.5" stroke-linecap="round"
             stroke-linejoin="round"/></svg>)";

}  // namespace

wxFont FontOf(TextSize size, bool bold) {
    wxFont font = wxSystemSettings::GetFont(wxSYS_DEFAULT_GUI_FONT);
    if (size == TextSize::Small) font = font.Scaled(0.9F);
    if (size == TextSize::Large) font = font.Scaled(1.45F);
    return bold ? font.Bold() : font;
}

wxColour Mixed(const wxColour& first, const wxColour& second, double share) {
    const auto mix = [&](int a, int b) { return static_cast<unsigned char>(a * share + b * (1 - share)); };
    return {mix(first.Red(), second.Red()), mix(first.Green(), second.Green()), mix(first.Blue(), second.Blue())};
}

wxColour Colour(Tint tint) {
    const bool dark = IsDark();
    switch (tint) {
        case Tint::Text: return System(wxSYS_COLOUR_WINDOWTEXT);
        case Tint::Quiet: return Mixed(Colour(Tint::Text), Colour(Tint::Ground), 0.68);
        case Tint::Accent:
            return dark ? System(wxSYS_COLOUR_HIGHLIGHT).ChangeLightness(125) : System(wxSYS_COLOUR_HIGHLIGHT);
        case Tint::OnAccent: return dark ? wxColour(16, 20, 24) : *wxWHITE;
        case Tint::Good: return dark ? wxColour(98, 205, 130) : wxColour(24, 118, 52);
        case Tint::Bad: return dark ? wxColour(255, 128, 118) : wxColour(184, 28, 36);
        case Tint::Caution: return dark ? wxColour(240, 186, 60) : wxColour(143, 92, 0);
        case Tint::Ground: return System(wxSYS_COLOUR_BTNFACE);
        case Tint::Card: return System(wxSYS_COLOUR_WINDOW);
        case Tint::Line: return Mixed(Colour(Tint::Text), Colour(Tint::Card), 0.24);
        case Tint::Hover: return Mixed(Colour(Tint::Accent), Colour(Tint::Card), 0.08);
        case Tint::Chosen: return Mixed(Colour(Tint::Accent), Colour(Tint::Card), 0.18);
    }
    return {};
}

wxStaticText* MakeLabel(wxWindow* parent, std::u16string_view text, TextSize size, bool bold, Tint tint) {
    auto* label = new wxStaticText(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxST_ELLIPSIZE_END);
    label->SetFont(FontOf(size, bold));
    if (tint != Tint::Text) label->SetForegroundColour(Colour(tint));
    label->SetLabelText(ui::ToWx(text));
    return label;
}

void SetSpokenName(wxWindow& window, std::u16string_view name, Role role) {
    Toolkit::Instance().Name(window.GetHandle(), ui::ToWx(name).utf8_str(), NumberOf(role));
}

void PassWheel(wxWindow& part, wxWindow& whole) {
    part.Bind(wxEVT_MOUSEWHEEL, [&whole](wxMouseEvent& event) { whole.ProcessWindowEvent(event); });
}

void SetInnerMargin(wxTextCtrl& text) {
    Toolkit::Instance().Margin(text.GetHandle(), kGap, kTiny);
}

wxIconBundle ProgramIcon() {
    wxIconBundle icons;
    for (const int size : {16, 24, 32, 48, 64, 128}) {
        wxIcon icon;
        icon.CopyFromBitmap(wxBitmapBundle::FromSVG(kIcon, wxSize(size, size)).GetBitmap(wxSize(size, size)));
        icons.AddIcon(icon);
    }
    return icons;
}

}  // namespace qmtrain::host
