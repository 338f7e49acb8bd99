#include "server/bank_classes.h"

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "core/convert.h"
#include "server/class_members.h"
#include "server/object.h"
#include "server/qmtraininfo.h"
#include "server/variant_enumerator.h"

namespace qmtrain::server {
namespace {

using automation::ComPtr;
using automation::Variant;

// A key is a text, a place anything that is a number.
template <class Collection>
decltype(auto) At(Collection& items, Value index) {
    return index.IsText() ? items.Item(index.Text()) : items.Item(ToLong(index));
}

void Remove(TextCollection& items, Value index) {
    index.IsText() ? items.Remove(index.Text()) : items.Remove(ToLong(index));
}

std::u16string KeyAt(TextCollection& items, std::int32_t place) {
    items.Item(place);  // raises the error for a place that there is not
    return std::next(items.begin(), place - 1)->key;
}

ComPtr<IUnknown> ItemsOf(TextCollection& items) {
    std::vector<Variant> texts;
    for (const TextCollection::Entry& entry : items) texts.emplace_back(Value(entry.item));
    return Enumerate(std::move(texts));
}

bool GetAnswer(FillAnswer& answer, std::int32_t index, std::optional<std::vector<std::u16string>>& texts) {
    if (answer.GetAnswer(index, texts.emplace())) return true;
    texts.reset();
    return false;
}

}  // namespace

ComPtr<IDispatch> HostedQuestion::Items() const {
    if (ChoiceItems() && ChoiceItems() == in_its_place_) return foreign_;
    return ComPtr<IDispatch>::Attach(Wrap(ChoiceItems()));
}

void HostedQuestion::Items(ComPtr<IDispatch> items) {
    auto own = items ? UnwrapInstance(ClassOf<TextCollection>(), items.Get()) : nullptr;
    in_its_place_ = items && !own ? std::make_shared<TextCollection>() : nullptr;
    foreign_ = in_its_place_ ? std::move(items) : ComPtr<IDispatch>();
    ChoiceItems(in_its_place_ ? in_its_place_ : std::static_pointer_cast<TextCollection>(std::move(own)));
}

template <>
const Class& ClassOf<DataInfo>() {
    using C = DataInfo;
    using I = IDataInfo;
    static const Class made{u"DataInfo",
                            CLSID_DataInfo,
                            IID_IDataInfo,
                            {
                                QMTRAIN_PROPERTY(TotalPath),
                                QMTRAIN_PROPERTY(LocalMdbPath),
                                QMTRAIN_PROPERTY(IsNet),
                                QMTRAIN_PROPERTY(DataCode),
                                QMTRAIN_PROPERTY(Description),
                                QMTRAIN_PROPERTY(MdbName),
                                QMTRAIN_PROPERTY(SubjectCode),
                                QMTRAIN_METHOD(InitDb),
                                QMTRAIN_METHOD(LoadFromDataCode),
                            },
                            &New<C>};
    return made;
}

template <>
const Class& ClassOf<TextCollection>() {
    using C = TextCollection;
    using I = IChoiceItems;
    static const Class made{u"ChoiceItems",
                            CLSID_ChoiceItems,
                            IID_IChoiceItems,
                            {
                                QMTRAIN_CALL(Item, [](C& items, Value index) { return Value(At(items, index)); }),
                                QMTRAIN_METHOD(Count),
                                QMTRAIN_METHOD(Add),
                                QMTRAIN_CALL(Remove, &Remove),
                                QMTRAIN_READ(_NewEnum, &ItemsOf),
                                QMTRAIN_CALL(Key, &KeyAt),
                            }};
    return made;
}

template <>
const Class& ClassOf<HostedQuestion>() {
    using C = HostedQuestion;
    using I = IQuestionItem;
    static const Class made{
        u"QuestionItem",
        CLSID_QuestionItem,
        IID_IQuestionItem,
        {
            QMTRAIN_PROPERTY(QuestionType),
            QMTRAIN_PROPERTY(Title),
            QMTRAIN_PROPERTY(Answer),
            QMTRAIN_PROPERTY(IsTheory),
            QMTRAIN_READ(ChoiceItems, [](const C& item) { return item.Items(); }),
            QMTRAIN_WRITE_REFERENCE(ChoiceItems,
                                    [](C& item, ComPtr<IDispatch> items) { item.Items(std::move(items)); }),
            QMTRAIN_PROPERTY(DataMdbPath),
            QMTRAIN_PROPERTY(LocalPaperMdb),
            QMTRAIN_PROPERTY(IsNet),
            QMTRAIN_PROPERTY(RecNo),
            QMTRAIN_PROPERTY(DataCode),
            QMTRAIN_PROPERTY(SubjectCode),
            QMTRAIN_CALL(GetInitDocBin, (&Fill<&C::GetInitDocBin, C, Bytes>)),
            QMTRAIN_METHOD(SetInitDocBin),
            QMTRAIN_CALL(GetResultDocBin, (&Fill<&C::GetResultDocBin, C, Bytes>)),
            QMTRAIN_METHOD(SetResultDocBin),
            QMTRAIN_CALL(InitQuestionItem, (&Initialise<&C::InitQuestionItem, C>)),
        },
        &New<C>};
    return made;
}

template <>
const Class& ClassOf<QuestionType>() {
    using C = QuestionType;
    using I = IQuestionType;
    static const Class made{u"QuestionType",
                            CLSID_QuestionType,
                            IID_IQuestionType,
                            {
                                QMTRAIN_PROPERTY(AppExeName),
                                QMTRAIN_PROPERTY(Description),
                                QMTRAIN_PROPERTY(TypeCode),
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_METHOD(Init),
                            },
                            &New<C>};
    return made;
}

template <>
const Class& ClassOf<FillAnswer>() {
    using C = FillAnswer;
    using I = IFillAnswer;
    static const Class made{u"FillAnswer",
                            CLSID_FillAnswer,
                            IID_IFillAnswer,
                            {
                                QMTRAIN_PROPERTY(Answer),
                                QMTRAIN_METHOD(InitClass),
                                QMTRAIN_METHOD(GetFillCount),
                                QMTRAIN_CALL(GetAnswer, &GetAnswer),
                                QMTRAIN_METHOD(ToString),
                            },
                            &New<C>};
    return made;
}

}  // namespace qmtrain::server
