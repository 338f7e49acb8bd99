// UNION: the columns of several selects meet in common types.
#include <algorithm>
#include <utility>

#include "core/error.h"
#include "sql/binding/bind_select.h"
#include "sql/running/sort.h"
#include "sql/running/union.h"

namespace qmtrain::sql {
namespace {

class UnionBinder {
public:
    UnionBinder(BindContext& context, const ast::Select& select, Scope* parent)
        : context_(context), select_(select), parent_(parent) {}

    std::unique_ptr<Plan> Run() {
        BindParts();
        auto plan = std::make_unique<Plan>();
        for (const auto& part : parts_) plan->correlated = plan->correlated || part->correlated;
        auto source = std::make_unique<UnionSource>(std::move(parts_), Columns());
        plan->root = std::make_unique<UnionRows>(*source, DistinctParts());
        AddOutputs(*plan, *source);
        AddOrder(*plan, *source);
        plan->sources.push_back(std::move(source));
        return plan;
    }

private:
    void BindParts() {
        static const std::vector<ast::OrderItem> kNoOrder;
        for (const ast::SelectPart& part : select_.parts) {
            parts_.push_back(BindPart(context_, part, kNoOrder, parent_));
            if (parts_.back()->outputs.size() != parts_.front()->outputs.size())
                Raise(ErrorNumber::ColumnCountMismatch);
        }
        for (const auto& part : parts_) TakeColumns(*part);
    }

    // As many digits after the point as either has.
    static DataType WidestDecimal(const DataType& a, const DataType& b) {
        const auto scale = [](const DataType& data_type) {
            constexpr int kOfCurrency = 4;
            return data_type.type == ColumnType::Decimal    ? data_type.scale
                   : data_type.type == ColumnType::Currency ? kOfCurrency
                                                            : 0;
        };
        DataType widest = DataTypeOf(Value::Type::Decimal);
        widest.scale = std::max(scale(a), scale(b));
        return widest;
    }

    // Types that have nothing in common meet as text.
    void TakeColumns(const Plan& part) {
        for (std::size_t i = 0; i < part.outputs.size(); ++i) {
            const PlanOutput& output = part.outputs[i];
            const Value::Type type = output.expression->Type();
            if (i == columns_.size()) {
                columns_.push_back({output.column.name, type, output.expression->GetDataType()});
                continue;
            }
            ColumnInfo& column = columns_[i];
            Value::Type common = CommonType(column.type, type);
            if (common == Value::Type::Empty) common = Value::Type::Text;
            const bool same_type = column.type == type && column.data_type.type == output.column.type;
            if (common == Value::Type::Decimal)
                column.data_type = WidestDecimal(column.data_type, output.expression->GetDataType());
            else if (same_type)
                column.data_type.size = std::max(column.data_type.size, output.column.size);
            else
                column.data_type = common == type          ? output.expression->GetDataType()
                                   : common == column.type ? column.data_type
                                                           : DataTypeOf(common);
            column.type = common;
        }
    }

    std::vector<ColumnInfo> Columns() { return std::move(columns_); }

    std::size_t DistinctParts() const {
        for (std::size_t i = select_.parts.size(); i-- > 1;) {
            if (!select_.parts[i].union_all) return i + 1;
        }
        return 0;
    }

    static void AddOutputs(Plan& plan, UnionSource& source) {
        std::vector<SlotExpression>& expressions = plan.OwnColumns(source);
        for (std::size_t i = 0; i < source.Columns().size(); ++i) {
            PlanOutput output;
            output.column.name = source.Columns()[i].name;
            SetDataType(output.column, source.Columns()[i].data_type);
            output.expression = &expressions[i];
            plan.outputs.push_back(std::move(output));
        }
    }

    void AddOrder(Plan& plan, UnionSource& source) {
        Scope scope(nullptr);
        scope.Add({}, source);
        ExpressionBinder binder(context_, scope);
        std::vector<SortKey> keys;
        for (const ast::OrderItem& item : select_.order_by) {
            const auto ordinal = OrdinalOf(item, plan.outputs.size());
            Expression* key = ordinal ? plan.outputs[*ordinal].expression : plan.Own(binder.Bind(*item.expression));
            keys.push_back({key, item.descending});
        }
        if (keys.empty() && DistinctParts() == select_.parts.size()) {
            for (Expression* output : plan.OutputExpressions()) keys.push_back({output, false});
        }
        if (!keys.empty()) {
            plan.root = std::make_unique<Sort>(std::move(plan.root), std::vector<Source*>{&source}, std::move(keys));
        }
    }

    BindContext& context_;
    const ast::Select& select_;
    Scope* parent_;
    std::vector<std::unique_ptr<Plan>> parts_;
    std::vector<ColumnInfo> columns_;
};

}  // namespace

std::unique_ptr<Plan> BindUnion(BindContext& context, const ast::Select& select, Scope* parent) {
    return UnionBinder(context, select, parent).Run();
}

}  // namespace qmtrain::sql
