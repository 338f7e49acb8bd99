#include "server/variant_enumerator.h"

#include <memory>
#include <utility>

#include "server/enumerator.h"

namespace qmtrain::server {
namespace {

using automation::ComPtr;
using automation::Variant;

bool GiveVariant(const Variant& held, VARIANT& out) {
    VARIANT content = held.Get();
    VariantInit(&out);
    return SUCCEEDED(VariantCopy(&out, &content));
}

void TakeVariant(VARIANT& out) {
    VariantClear(&out);
}

}  // namespace

ComPtr<IUnknown> Enumerate(std::vector<Variant> items) {
    using Items = Enumerator<IEnumVARIANT, Variant, VARIANT, &GiveVariant, &TakeVariant>;
    return ComPtr<IUnknown>::Attach(new Items(std::make_shared<const std::vector<Variant>>(std::move(items))));
}

}  // namespace qmtrain::server
