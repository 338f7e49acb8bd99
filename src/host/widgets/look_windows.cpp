#include <initguid.h>
#include <oleacc.h>
#include <wx/msw/private.h>

#include "automation/com_ptr.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

using automation::ComPtr;

// Names for screen readers that are no texts of the window itself. A system that has none goes without.
IAccPropServices* Names() {
    static const ComPtr<IAccPropServices> services = [] {
        ComPtr<IAccPropServices> made;
        CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices, made.OutVoid());
        return made;
    }();
    return services.Get();
}

LONG NumberOf(Role role) {
    switch (role) {
        case Role::Own: return 0;
        case Role::RadioButton: return ROLE_SYSTEM_RADIOBUTTON;
        case Role::CheckBox: return ROLE_SYSTEM_CHECKBUTTON;
        case Role::List: return ROLE_SYSTEM_LIST;
        case Role::Bar: return ROLE_SYSTEM_PROGRESSBAR;
        case Role::Picture: return ROLE_SYSTEM_GRAPHIC;
    }
    return 0;
}

}  // namespace

void SetSpokenName(wxWindow& window, std::u16string_view name, Role role) {
    IAccPropServices* names = Names();
    if (names == nullptr) return;
    const HWND handle = GetHwndOf(&window);
    names->SetHwndPropStr(handle, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, PROPID_ACC_NAME,
                          ui::ToWx(name).wc_str());
    if (role == Role::Own) return;
    VARIANT number{};
    V_VT(&number) = VT_I4;
    V_I4(&number) = NumberOf(role);
    names->SetHwndProp(handle, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, PROPID_ACC_ROLE, number);
}

void SetInnerMargin(wxTextCtrl& text) {
    text.SetMargins(text.FromDIP(wxPoint(ui::kTiny, ui::kTiny)));
}

}  // namespace qmtrain::host
