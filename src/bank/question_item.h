// One question of a question bank: its stem, standard answer, options and documents.
//
// IsNet; then DataMdbPath (stand-alone edition) or LocalPaperMdb (network edition); then DataCode, RecNo and, in the
// network edition, SubjectCode; then InitQuestionItem. Characters 3 and 4 of a record number say which table of the
// bank holds the question. Failures are logged.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "bank/question_kind.h"
#include "bank/text_collection.h"
#include "core/value.h"
#include "dao/dao.h"

namespace qmtrain {

class QuestionItem {
public:
    // "单选题", "多选题", "是非题", "填空题" or "操作题"; kept from the question before when the table is another one.
    const std::u16string& QuestionType() const { return question_type_; }
    void QuestionType(std::u16string_view value) { question_type_ = value; }
    QuestionKind Kind() const { return KindNamed(question_type_); }
    const std::u16string& Title() const { return title_; }
    void Title(std::u16string_view value) { title_ = value; }
    const std::u16string& Answer() const { return answer_; }
    void Answer(std::u16string_view value) { answer_ = value; }

    // Set by loading any question but an operation question; never cleared.
    bool IsTheory() const { return is_theory_; }
    void IsTheory(bool value) { is_theory_ = value; }

    // The options of a choice question, else empty. The stand-alone edition loads none. A host may set a collection of
    // its own.
    const std::shared_ptr<TextCollection>& ChoiceItems() const { return choice_items_; }
    void ChoiceItems(std::shared_ptr<TextCollection> value) { choice_items_ = std::move(value); }

    // The folder of the question banks; not tested.
    const std::u16string& DataMdbPath() const { return data_mdb_path_; }
    void DataMdbPath(std::u16string_view value) { data_mdb_path_ = value; }

    // The local paper database. Raises the component's error when the file is missing, in both editions.
    const std::u16string& LocalPaperMdb() const { return local_paper_mdb_; }
    void LocalPaperMdb(std::u16string_view value);

    bool IsNet() const { return is_net_; }
    void IsNet(bool value) { is_net_ = value; }
    const std::u16string& RecNo() const { return rec_no_; }
    void RecNo(std::u16string_view value) { rec_no_ = value; }
    const std::u16string& DataCode() const { return data_code_; }
    void DataCode(std::u16string_view value) { data_code_ = value; }
    std::int32_t SubjectCode() const { return subject_code_; }
    void SubjectCode(std::int32_t value) { subject_code_ = value; }

    // The two documents of an operation question, whole. An absent one is a single zero byte.
    void GetInitDocBin(Bytes& bytDoc) const { bytDoc = init_document_; }
    void SetInitDocBin(const Bytes& bytDoc) { init_document_ = bytDoc; }
    void GetResultDocBin(Bytes& bytDoc) const { bytDoc = result_document_; }
    void SetResultDocBin(const Bytes& bytDoc) { result_document_ = bytDoc; }

    // Loads the question RecNo; on failure `strErr` tells the user why.
    bool InitQuestionItem(std::u16string& strErr);

private:
    void Reset();
    bool InitDbQuestion();
    std::u16string BankFile() const;
    std::u16string GetQuestionTypeTblName(std::u16string_view table_code, std::u16string_view data_code) const;
    bool LoadQuesitonFromRecNo(std::u16string_view rec_no, std::u16string_view data_code);
    std::shared_ptr<TextCollection> GetChoiceVice(std::u16string_view rec_no, std::u16string_view data_code) const;
    std::u16string SubjectCondition() const;

    std::u16string question_type_;
    std::u16string title_;
    std::u16string answer_;
    bool is_theory_ = false;
    Bytes init_document_ = {0};
    Bytes result_document_ = {0};
    std::shared_ptr<TextCollection> choice_items_;
    std::u16string data_mdb_path_;
    std::u16string local_paper_mdb_;
    bool is_net_ = false;
    std::unique_ptr<dao::Connection> questions_ = std::make_unique<dao::Connection>();
    std::u16string rec_no_;
    std::u16string data_code_;
    std::int32_t subject_code_ = 0;
};

}  // namespace qmtrain
