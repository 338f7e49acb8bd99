#include "exchange/recognition.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "core/text.h"
#include "exchange/checks.h"

namespace qmtrain::exchange {
namespace {

constexpr double kAlike = 0.7;               // stems of the same question, where little else speaks for it
constexpr double kRelated = 0.3;             // where a record number and the answer, or half of the options, do
constexpr std::size_t kTellingOptions = 16;  // characters of options that are no mere numbers

// What a text says: without blanks and formats, pictures by their content.
std::u16string KeyOf(const document::RichText& text) {
    std::u16string key;
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        for (const document::Run& run : paragraph.runs) {
            if (run.picture != nullptr) {
                const Bytes& bytes = run.picture->bytes;
                const std::string_view content(reinterpret_cast<const char*>(bytes.data()), bytes.size());
                key +=
                    document::kPictureMark + ToText(static_cast<std::int64_t>(std::hash<std::string_view>()(content)));
                continue;
            }
            for (const char16_t unit : run.text) {
                if (unit > u' ' && unit != u'\u3000' && unit != u'\u00A0') key += ToLower(unit);
            }
        }
    }
    return key;
}

// "以上都不对", "A 和 B 都对": they stand in many questions.
bool PointsAtOthers(std::u16string_view option) {
    for (const std::u16string_view beginning : {u"以上", u"上述"}) {
        if (option.starts_with(beginning)) return true;
    }
    bool letter = false;
    bool joined = false;
    for (; !option.empty(); option.remove_prefix(1)) {
        const char16_t unit = option.front();
        const bool joins = std::u16string_view(u"和与及或、").find(unit) != std::u16string_view::npos;
        if (!joins && unit != u'项' && (unit < u'a' || unit > u'h')) break;
        joined = joined || joins;
        letter = letter || unit < u'i';
    }
    if (!letter || option.empty()) return letter && joined;
    return std::u16string_view(u"都均皆全对错正不").find(option.front()) != std::u16string_view::npos;
}

struct Keys {
    std::u16string stem;
    std::vector<std::u16string> options;
    std::vector<std::u16string> telling;  // those that tell the question from others, sorted
    std::u16string answer;
    std::u16string all;

    explicit Keys(const Question& question) {
        const std::u16string kind(1, static_cast<char16_t>(u'0' + static_cast<int>(question.kind)));
        stem = kind + KeyOf(question.stem);
        for (const Option& option : question.options) options.push_back(KeyOf(option.text));
        std::copy_if(options.begin(), options.end(), std::back_inserter(telling),
                     [](const std::u16string& option) { return !PointsAtOthers(option); });
        if (telling.empty()) telling = options;
        std::sort(telling.begin(), telling.end());
        answer =
            question.kind == QuestionKind::Fill ? StoredBlanks(Canonical(question.blanks)) : StoredAnswer(question);
        all = stem + u'\n' + answer;
        for (const std::u16string& option : options) all += u'\n' + option;
    }

    std::size_t Shared(const Keys& other) const {
        std::vector<std::u16string_view> both;
        std::set_intersection(telling.begin(), telling.end(), other.telling.begin(), other.telling.end(),
                              std::back_inserter(both));
        return both.size();
    }
    std::size_t MostOptions(const Keys& other) const { return std::max(telling.size(), other.telling.size()); }

    // What the answer says for a question whose record number is the same.
    bool AnswersAlike(const Keys& other, QuestionKind kind) const {
        if (!options.empty()) return 2 * Shared(other) >= MostOptions(other);
        return kind != QuestionKind::YesNo && !answer.empty() && answer == other.answer;
    }

    // The options in any order, and which of them are right; empty when they tell little.
    std::u16string OptionKey(const Question& question) const {
        std::vector<std::u16string> sorted;
        std::size_t length = 0;
        for (std::size_t i = 0; i < options.size(); ++i) {
            length += options[i].size();
            sorted.push_back((question.options[i].right ? u"+" : u"-") + options[i]);
        }
        if (length < kTellingOptions) return {};
        std::sort(sorted.begin(), sorted.end());
        std::u16string key;
        for (const std::u16string& one : sorted) key += one + u'\n';
        return stem.substr(0, 1) + key;
    }
};

std::vector<document::RichText> CanonicalTexts(const std::vector<Option>& options) {
    std::vector<document::RichText> texts;
    for (const Option& option : options) texts.push_back(Canonical(option.text));
    return texts;
}

// For each of these options the other that says the same, each at most once.
std::vector<std::optional<std::size_t>> Counterparts(const std::vector<Option>& options,
                                                     const std::vector<Option>& others) {
    const std::vector<document::RichText> texts = CanonicalTexts(options);
    const std::vector<document::RichText> other_texts = CanonicalTexts(others);
    std::vector<bool> taken(others.size());
    std::vector<std::optional<std::size_t>> found(options.size());
    for (const bool in_place : {true, false}) {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            for (std::size_t j = 0; j < other_texts.size() && !found[i]; ++j) {
                if (taken[j] || (in_place && i != j) || texts[i] != other_texts[j]) continue;
                found[i] = j;
                taken[j] = true;
            }
        }
    }
    return found;
}

bool SameOptions(const std::vector<Option>& a, const std::vector<Option>& b) {
    return CanonicalTexts(a) == CanonicalTexts(b);
}

// Whether a letter stands for another option than it did.
bool LettersMove(const std::vector<Option>& before, const std::vector<Option>& after) {
    const auto found = Counterparts(after, before);
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (found[i] && *found[i] != i) return true;
    }
    return false;
}

// Histories have the letters of options, so that another order alone changes nothing, unless an option names letters.
void KeepOptions(std::vector<Option>& options, const std::vector<Option>& in_bank) {
    const auto found = Counterparts(options, in_bank);
    bool same_set = options.size() == in_bank.size();
    for (std::size_t i = 0; i < options.size(); ++i) {
        same_set = same_set && found[i] && options[i].right == in_bank[*found[i]].right &&
                   (*found[i] == i || !PointsAtOthers(KeyOf(options[i].text)));
        if (found[i]) options[i].text = in_bank[*found[i]].text;
    }
    if (same_set) options = in_bank;
}

// To the letter and to the format, in what a candidate sees of it.
bool AsksTheSame(const Question& a, const Question& b) {
    return Canonical(a.stem) == Canonical(b.stem) && SameOptions(a.options, b.options) &&
           StoredAnswer(a) == StoredAnswer(b);
}

using Places = std::unordered_map<std::u16string, std::vector<std::size_t>>;

class Recogniser {
public:
    Recogniser(std::span<const Question> bank, std::span<const Question> file)
        : bank_(bank), file_(file), bank_keys_(bank.begin(), bank.end()), file_keys_(file.begin(), file.end()) {
        for (const Question& question : bank) bank_numbers_.insert(question.rec_no);
        found_.resize(file.size());
        repeated_.resize(file.size());
        taken_.resize(bank.size());
    }

    Recognition Run() {
        Match(&Recogniser::NumberOf, [this](std::size_t bank, std::size_t file) {
            const Keys& in_bank = bank_keys_[bank];
            const Keys& in_file = file_keys_[file];
            const bool same = in_bank.stem == in_file.stem &&
                              (in_bank.options.empty() || in_bank.AnswersAlike(in_file, bank_[bank].kind));
            return same ? std::size_t{1} + (in_bank.all == in_file.all) : std::size_t{0};
        });
        Match(&Recogniser::AllOf, [this](std::size_t bank, std::size_t file) {
            return std::size_t{1} + AsksTheSame(bank_[bank], file_[file]);
        });
        MarkRepeated();
        Match(&Recogniser::StemOf, [this](std::size_t bank, std::size_t file) {
            const Keys& in_bank = bank_keys_[bank];
            const Keys& in_file = file_keys_[file];
            if (in_bank.options.empty()) return std::size_t{1} + (in_bank.answer == in_file.answer);
            const std::size_t shared = in_bank.Shared(in_file);
            return 2 * shared > in_bank.MostOptions(in_file) ? shared : std::size_t{0};
        });
        Match(&Recogniser::NumberOf, [this](std::size_t bank, std::size_t file) {
            const Keys& in_bank = bank_keys_[bank];
            const Keys& in_file = file_keys_[file];
            if (!in_bank.options.empty() && in_bank.Shared(in_file) == 0) return std::size_t{0};
            const double enough = in_bank.AnswersAlike(in_file, bank_[bank].kind) ? kRelated : kAlike;
            return ScoreOfStems(bank, file, enough);
        });
        Match(&Recogniser::OptionsOf,
              [this](std::size_t bank, std::size_t file) { return ScoreOfStems(bank, file, kAlike); });
        return Result();
    }

private:
    using KeyFunction = std::u16string (*)(const Question&, const Keys&);

    static std::u16string AllOf(const Question&, const Keys& keys) { return keys.all; }
    static std::u16string StemOf(const Question&, const Keys& keys) { return keys.stem; }
    static std::u16string NumberOf(const Question& question, const Keys& keys) {
        return question.rec_no.empty() ? u"" : keys.stem.substr(0, 1) + question.rec_no;
    }
    static std::u16string OptionsOf(const Question& question, const Keys& keys) { return keys.OptionKey(question); }

    std::size_t ScoreOfStems(std::size_t bank, std::size_t file, double enough) const {
        const double likeness = Likeness(bank_keys_[bank].stem, file_keys_[file].stem);
        return likeness >= enough ? static_cast<std::size_t>(likeness * 1000) : 0;
    }

    // Two questions of the bank may ask the same: each of their numbers stands for its own.
    void MarkRepeated() {
        Places seen;
        for (std::size_t i = 0; i < file_.size(); ++i) {
            std::vector<std::size_t>& places = seen[file_keys_[i].all];
            const std::u16string& number = file_[i].rec_no;
            const bool known = bank_numbers_.contains(number);
            repeated_[i] = !found_[i] && std::any_of(places.begin(), places.end(), [&](std::size_t earlier) {
                return (!known || file_[earlier].rec_no == number) && AsksTheSame(file_[earlier], file_[i]);
            });
            places.push_back(i);
        }
    }

    struct Pair {
        std::size_t score;
        std::size_t file;
        std::size_t bank;
    };

    // Of the questions with the same key that are not found yet, those pairs come together first that have the highest
    // score above 0. Many questions may share a stem such as "下列说法正确的是": a few hundred at a time are compared.
    template <class Score>
    void Match(KeyFunction key, Score score) {
        constexpr std::size_t kAtATime = 500;
        Places free;
        for (std::size_t i = 0; i < bank_.size(); ++i) {
            if (taken_[i]) continue;
            if (std::u16string of = key(bank_[i], bank_keys_[i]); !of.empty()) free[std::move(of)].push_back(i);
        }
        Places wanted;
        for (std::size_t i = 0; i < file_.size(); ++i) {
            if (found_[i] || repeated_[i]) continue;
            if (std::u16string of = key(file_[i], file_keys_[i]); free.contains(of)) {
                wanted[std::move(of)].push_back(i);
            }
        }
        std::vector<Pair> pairs;
        for (const auto& [of, files] : wanted) {
            std::vector<std::size_t>& banks = free[of];
            for (std::size_t begin = 0; begin < files.size(); begin += kAtATime) {
                pairs.clear();
                for (std::size_t i = begin; i < std::min(begin + kAtATime, files.size()); ++i) {
                    for (std::size_t j = 0; j < std::min(kAtATime, banks.size()); ++j) {
                        const std::size_t points = score(banks[j], files[i]);
                        if (points > 0) pairs.push_back({points, files[i], banks[j]});
                    }
                }
                std::stable_sort(pairs.begin(), pairs.end(),
                                 [](const Pair& a, const Pair& b) { return a.score > b.score; });
                for (const Pair& pair : pairs) {
                    if (found_[pair.file] || taken_[pair.bank]) continue;
                    found_[pair.file] = pair.bank;
                    taken_[pair.bank] = true;
                }
                std::erase_if(banks, [&](std::size_t bank) { return taken_[bank]; });
            }
        }
    }

    Recognition Result() const {
        Recognition result;
        for (std::size_t i = 0; i < file_.size(); ++i) {
            Recognised one;
            if (repeated_[i]) {
                one.as = Recognised::As::Repeated;
            } else if (found_[i]) {
                one.existing = *found_[i];
                one.changes = Differences(bank_[one.existing], Merged(bank_[one.existing], file_[i]));
                one.as = one.changes.empty() ? Recognised::As::Same : Recognised::As::Changed;
            }
            result.questions.push_back(std::move(one));
        }
        std::unordered_set<std::u16string> file_numbers;
        for (const Question& question : file_) file_numbers.insert(question.rec_no);
        for (std::size_t i = 0; i < bank_.size(); ++i) {
            if (!taken_[i] && !file_numbers.contains(bank_[i].rec_no)) result.not_found.push_back(i);
        }
        return result;
    }

    std::span<const Question> bank_;
    std::span<const Question> file_;
    std::vector<Keys> bank_keys_;
    std::unordered_set<std::u16string> bank_numbers_;
    std::vector<Keys> file_keys_;
    std::vector<std::optional<std::size_t>> found_;
    std::vector<bool> repeated_;
    std::vector<bool> taken_;
};

}  // namespace

std::size_t Recognition::Count(Recognised::As as) const {
    return static_cast<std::size_t>(
        std::count_if(questions.begin(), questions.end(), [&](const Recognised& one) { return one.as == as; }));
}

std::u16string Recognition::Summary() const {
    std::u16string out;
    for (const auto& [as, word] :
         {std::pair{Recognised::As::New, u"新增"}, std::pair{Recognised::As::Changed, u"修改"},
          std::pair{Recognised::As::Same, u"不变"}, std::pair{Recognised::As::Repeated, u"重复"}}) {
        if (!out.empty()) out += u"，";
        out.append(word).append(u" ").append(ToText(Count(as))).append(u" 题");
    }
    if (not_found.empty()) return out;
    return out + u"，题库中另有 " + ToText(not_found.size()) + u" 题不在文件里";
}

double Likeness(std::u16string_view a, std::u16string_view b) {
    static constexpr std::size_t kMostCompared = 2000;
    const auto pairs_of = [](std::u16string_view text) {
        std::vector<std::uint32_t> pairs;
        for (std::size_t i = 0; i + 1 < std::min(text.size(), kMostCompared); ++i) {
            pairs.push_back(std::uint32_t{text[i]} << 16 | text[i + 1]);
        }
        std::sort(pairs.begin(), pairs.end());
        return pairs;
    };
    const std::vector<std::uint32_t> first = pairs_of(a);
    const std::vector<std::uint32_t> second = pairs_of(b);
    if (first.empty() && second.empty()) return a == b ? 1 : 0;
    std::vector<std::uint32_t> both;
    std::set_intersection(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(both));
    return 2.0 * static_cast<double>(both.size()) / static_cast<double>(first.size() + second.size());
}

Recognition Recognise(std::span<const Question> bank, std::span<const Question> file) {
    return Recogniser(bank, file).Run();
}

Question Merged(const Question& in_bank, const Question& in_file) {
    Question merged = in_file;
    merged.rec_no = in_bank.rec_no;
    merged.other_document = in_bank.other_document;
    const Question::Stated& stated = in_file.stated;
    if (merged.category.empty() && !stated.category) merged.category = in_bank.category;
    if (CanonicalCategory(merged.category) == CanonicalCategory(in_bank.category)) merged.category = in_bank.category;
    if (merged.requirements.empty() && !stated.requirements) merged.requirements = in_bank.requirements;
    if (merged.keywords.empty() && !stated.keywords) merged.keywords = in_bank.keywords;
    if (IsEmpty(merged.analysis) && !stated.analysis) merged.analysis = in_bank.analysis;
    if (merged.difficulty == 0 && !stated.difficulty) merged.difficulty = in_bank.difficulty;
    if (Canonical(merged.stem) == Canonical(in_bank.stem)) merged.stem = in_bank.stem;
    if (in_bank.other_document || Canonical(merged.analysis) == Canonical(in_bank.analysis)) {
        merged.analysis = in_bank.analysis;
    }
    KeepOptions(merged.options, in_bank.options);
    if (Canonical(merged.blanks) == Canonical(in_bank.blanks)) merged.blanks = in_bank.blanks;
    return merged;
}

std::u16string Differences(const Question& before, const Question& after) {
    std::u16string out;
    const auto add_if = [&](bool differs, std::u16string_view what) {
        if (differs) out.append(out.empty() ? u"" : u"、").append(what);
    };
    const auto lines = [](std::u16string_view text) {
        std::u16string unified(text);
        std::erase(unified, u'\r');
        return std::u16string(Trimmed(unified));
    };
    add_if(Canonical(before.stem) != Canonical(after.stem), u"题干");
    add_if(!SameOptions(before.options, after.options), LettersMove(before.options, after.options)
                                                            ? u"选项（有的换了字母，练习历史中的答案是字母，含义会变）"
                                                            : u"选项");
    add_if(lines(StoredAnswer(before)) != lines(StoredAnswer(after)), u"答案");
    add_if(Canonical(before.analysis) != Canonical(after.analysis), u"解析");
    add_if(before.difficulty != after.difficulty, u"难度");
    add_if(before.category != after.category, u"分类");
    add_if(before.keywords != after.keywords, u"要点");
    return out;
}

}  // namespace qmtrain::exchange
