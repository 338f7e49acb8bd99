// What enumerators hand out.
#include "server/enumerator.h"

#include <gtest/gtest.h>

#include "automation/com_ptr.h"

namespace qmtrain::server {
namespace {

int taken = 0;

// Cannot give a 4.
bool Give(const int& held, VARIANT& out) {
    VariantInit(&out);
    V_VT(&out) = VT_I4;
    V_I4(&out) = held;
    return held != 4;
}
void Take(VARIANT& out) {
    VariantClear(&out);
    ++taken;
}

using Numbers = Enumerator<IEnumVARIANT, int, VARIANT, &Give, &Take>;

automation::ComPtr<IEnumVARIANT> Make(std::vector<int> items) {
    return automation::ComPtr<IEnumVARIANT>::Attach(
        new Numbers(std::make_shared<const std::vector<int>>(std::move(items))));
}

TEST(EnumeratorTest, GivesAllThatIsWantedOrNothing) {
    const auto numbers = Make({1, 2, 3, 4});
    VARIANT out[4];
    ULONG fetched = 9;
    ASSERT_EQ(numbers->Next(1, out, &fetched), S_OK);
    EXPECT_EQ(fetched, 1U);
    EXPECT_EQ(numbers->Next(3, out, &fetched), E_OUTOFMEMORY);
    EXPECT_EQ(fetched, 0U);
    EXPECT_EQ(taken, 2) << "what was given already";
    ASSERT_EQ(numbers->Next(2, out, &fetched), S_OK) << "it stands where it stood";
    EXPECT_EQ(V_I4(&out[0]) * 10 + V_I4(&out[1]), 23);
    EXPECT_EQ(numbers->Next(1, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(numbers->Next(2, out, nullptr), E_POINTER);
}

TEST(EnumeratorTest, GoesOnFromAnyPlace) {
    const auto numbers = Make({1, 2, 3});
    VARIANT out[4];
    ULONG fetched = 0;
    EXPECT_EQ(numbers->Skip(2), S_OK);
    automation::ComPtr<IEnumVARIANT> other;
    ASSERT_EQ(numbers->Clone(other.Out()), S_OK);
    EXPECT_EQ(numbers->Next(4, out, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1U);
    EXPECT_EQ(numbers->Skip(1), S_FALSE);
    ASSERT_EQ(other->Next(1, out, nullptr), S_OK);
    EXPECT_EQ(V_I4(&out[0]), 3);
    EXPECT_EQ(other->Reset(), S_OK);
    ASSERT_EQ(other->Next(1, out, nullptr), S_OK);
    EXPECT_EQ(V_I4(&out[0]), 1);
}

}  // namespace
}  // namespace qmtrain::server
