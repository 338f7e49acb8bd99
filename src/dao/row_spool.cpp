#include "dao/row_spool.h"

#include <algorithm>
#include <span>

#include "core/error.h"
#include "dao/packed_rows.h"
#include "jet/temporary_file.h"

namespace qmtrain::dao {
namespace {

constexpr std::size_t kChunk = std::size_t{128} << 10;
constexpr std::size_t kMostHeld = std::size_t{8} << 20;

template <class T>
std::span<std::uint8_t> BytesOf(std::vector<T>& items) {
    return {reinterpret_cast<std::uint8_t*>(items.data()), items.size() * sizeof(T)};
}

}  // namespace

void RowSpool::Append(const Value& value) {
    PackedRows::Append(value, pending_);
}

void RowSpool::End() {
    if (chunks_.empty() || chunks_.back().bytes.size() >= kChunk) {
        if (held_ > kMostHeld) WriteOut(chunks_.back());
        chunks_.emplace_back().first_row = size_;
    }
    Chunk& chunk = chunks_.back();
    chunk.begins.push_back(static_cast<std::uint32_t>(chunk.bytes.size()));
    chunk.bytes.insert(chunk.bytes.end(), pending_.begin(), pending_.end());
    ++size_;
    bytes_ += pending_.size();
    held_ += pending_.size() + sizeof chunk.begins.back();
}

void RowSpool::WriteOut(Chunk& chunk) {
    if (file_ == nullptr) file_ = jet::OpenTemporaryFile(FileSystem::Native());
    file_->WriteAt(file_size_, BytesOf(chunk.begins));
    file_->WriteAt(file_size_ + BytesOf(chunk.begins).size(), chunk.bytes);
    chunk.place = file_size_;
    chunk.rows_in_file = static_cast<std::uint32_t>(chunk.begins.size());
    chunk.bytes_in_file = static_cast<std::uint32_t>(chunk.bytes.size());
    file_size_ += BytesOf(chunk.begins).size() + chunk.bytes.size();
    held_ -= BytesOf(chunk.begins).size() + chunk.bytes.size();
    std::vector<std::uint32_t>().swap(chunk.begins);
    std::vector<std::uint8_t>().swap(chunk.bytes);
}

const RowSpool::Chunk& RowSpool::Load(std::size_t number) const {
    const Chunk& chunk = chunks_[number];
    if (chunk.rows_in_file == 0) return chunk;
    if (loaded_.begins.empty() || loaded_from_ != number) {
        loaded_from_ = SIZE_MAX;  // none, if it cannot be read
        loaded_.begins.resize(chunk.rows_in_file);
        loaded_.bytes.resize(chunk.bytes_in_file);
        const std::span<std::uint8_t> parts[] = {BytesOf(loaded_.begins), loaded_.bytes};
        if (file_->ReadParts(chunk.place, parts) != parts[0].size() + parts[1].size()) {
            Raise(ErrorNumber::DiskError, {u"临时文件", u"临时文件不完整。"});
        }
        loaded_from_ = number;
    }
    return loaded_;
}

void RowSpool::Get(std::size_t number, std::vector<Value>& row) const {
    const auto holds = [&](std::size_t chunk) {
        return chunk < chunks_.size() && chunks_[chunk].first_row <= number &&
               (chunk + 1 == chunks_.size() || number < chunks_[chunk + 1].first_row);
    };
    if (!holds(looked_at_)) {
        const auto next = std::ranges::upper_bound(chunks_, number, {}, &Chunk::first_row);
        looked_at_ = static_cast<std::size_t>(next - chunks_.begin()) - 1;
    }
    const Chunk& chunk = Load(looked_at_);
    const std::uint8_t* at = chunk.bytes.data() + chunk.begins[number - chunks_[looked_at_].first_row];
    for (Value& value : row) at = PackedRows::Take(at, value);
}

void RowSpool::Clear() {
    chunks_.resize(std::min<std::size_t>(chunks_.size(), 1));
    for (Chunk& chunk : chunks_) {
        chunk = {.first_row = 0, .begins = std::move(chunk.begins), .bytes = std::move(chunk.bytes)};
        chunk.begins.clear();
        chunk.bytes.clear();
    }
    size_ = bytes_ = held_ = 0;
    file_.reset();
    file_size_ = 0;
    loaded_ = {};
}

}  // namespace qmtrain::dao
