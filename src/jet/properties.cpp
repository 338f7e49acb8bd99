#include "jet/properties.h"

#include <algorithm>

#include "jet/code_page_text.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {
namespace {

constexpr std::uint16_t kNamesChunk = 0x80;
constexpr std::uint16_t kObjectChunk = 0;
constexpr std::uint16_t kColumnChunk = 1;

std::u16string TextOf(std::span<const std::uint8_t> bytes, const FileFormat& format, int code_page) {
    if (format.version == Version::Jet3) {
        return FromCodePage({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, code_page);
    }
    std::u16string text(bytes.size() / 2, u'\0');
    if (!text.empty()) std::memcpy(text.data(), bytes.data(), text.size() * 2);
    return text;
}

class BlobReader {
public:
    BlobReader(const FileFormat& format, int code_page) : format_(format), code_page_(code_page) {}

    Properties Read(const ByteView& blob) {
        for (std::size_t at = 4; at + 6 <= blob.Size();) {
            const std::size_t length = blob.U32(at);
            if (length < 6) blob.Damaged(u"对象属性的长度错误");
            ReadChunk(blob.U16(at + 4), blob.Part(at + 6, length - 6));
            at += length;
        }
        return std::move(result_);
    }

private:
    std::u16string Text(const ByteView& bytes) const { return TextOf(bytes.Span(), format_, code_page_); }

    void ReadChunk(std::uint16_t type, const ByteView& chunk) {
        if (type == kNamesChunk) {
            names_.clear();
            for (std::size_t at = 0; at + 2 <= chunk.Size(); at += 2 + chunk.U16(at)) {
                names_.push_back(Text(chunk.Part(at + 2, chunk.U16(at))));
            }
        } else if (type == kObjectChunk || type == kColumnChunk) {
            ReadOwner(chunk);
        }
    }

    void ReadOwner(const ByteView& chunk) {
        const std::size_t name_block = chunk.U32(0);
        if (name_block < 6) chunk.Damaged(u"对象属性的长度错误");
        std::vector<Property>& list = result_.owners[Text(chunk.Part(6, chunk.U16(4)))];
        for (std::size_t at = name_block; at + 8 <= chunk.Size();) {
            const ByteView record = chunk.Part(at, chunk.U16(at));
            if (record.Size() < 8) chunk.Damaged(u"对象属性的长度错误");
            const std::size_t name = record.U16(4);
            if (name >= names_.size()) chunk.Damaged(u"对象属性的名称错误");
            const ByteView value = record.Part(8, record.U16(6));
            list.push_back(
                {names_[name], record.U8(3), record.U8(2), Bytes(value.Data(), value.Data() + value.Size())});
            at += record.Size();
        }
    }

    const FileFormat& format_;
    int code_page_;
    std::vector<std::u16string> names_;
    Properties result_;
};

template <class T>
void Append(Bytes& out, T value) {
    out.resize(out.size() + sizeof value);
    Put(&out[out.size() - sizeof value], value);
}

Bytes BytesOf(std::u16string_view text, const FileFormat& format, int code_page, ErrorNumber error,
              std::u16string_view name) {
    if (format.version == Version::Jet3) {
        const std::string stored = ToStored(text, code_page, error, name);
        return {stored.begin(), stored.end()};
    }
    Bytes bytes(text.size() * 2);
    if (!bytes.empty()) std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

void AppendName(Bytes& out, std::u16string_view name, const FileFormat& format, int code_page) {
    const Bytes bytes = BytesOf(name, format, code_page, ErrorNumber::InvalidName, name);
    Append(out, static_cast<std::uint16_t>(bytes.size()));
    out.insert(out.end(), bytes.begin(), bytes.end());
}

void AppendChunk(Bytes& out, std::uint16_t type, const Bytes& content) {
    Append(out, static_cast<std::uint32_t>(content.size() + 6));
    Append(out, type);
    out.insert(out.end(), content.begin(), content.end());
}

}  // namespace

std::u16string Property::AsText(const FileFormat& format, int code_page) const {
    return TextOf(value, format, code_page);
}

const Property* Properties::Find(std::u16string_view owner, std::u16string_view name) const {
    for (const auto& [key, list] : owners) {
        if (!EqualNames(key, owner)) continue;
        for (const Property& property : list) {
            if (EqualNames(property.name, name)) return &property;
        }
    }
    return nullptr;
}

void Properties::Set(const std::u16string& owner, Property property) {
    std::vector<Property>& list = owners[owner];
    std::erase_if(list, [&](const Property& other) { return EqualNames(other.name, property.name); });
    list.push_back(std::move(property));
}

void Properties::Remove(const std::u16string& owner, std::u16string_view name) {
    const auto list = owners.find(owner);
    if (list == owners.end()) return;
    std::erase_if(list->second, [&](const Property& property) { return EqualNames(property.name, name); });
    if (list->second.empty()) owners.erase(list);
}

Properties Properties::Read(const ByteView& blob, const FileFormat& format, int code_page) {
    if (blob.Empty()) return {};
    const bool known =
        blob.Size() >= 4 && std::memcmp(blob.Data(), format.property_magic, sizeof format.property_magic) == 0;
    if (!known) blob.Damaged(u"对象属性的标志错误");
    return BlobReader(format, code_page).Read(blob);
}

Bytes Properties::Write(const FileFormat& format, int code_page) const {
    std::vector<std::u16string> names;
    Bytes owners_part;
    for (const auto& [owner, list] : owners) {
        if (list.empty()) continue;
        Bytes content(4);
        AppendName(content, owner, format, code_page);
        Put(content.data(), static_cast<std::uint32_t>(content.size()));
        for (const Property& property : list) {
            auto name = std::find(names.begin(), names.end(), property.name);
            if (name == names.end()) name = names.insert(names.end(), property.name);
            Append(content, static_cast<std::uint16_t>(8 + property.value.size()));
            content.push_back(property.flag);
            content.push_back(property.type);
            Append(content, static_cast<std::uint16_t>(name - names.begin()));
            Append(content, static_cast<std::uint16_t>(property.value.size()));
            content.insert(content.end(), property.value.begin(), property.value.end());
        }
        AppendChunk(owners_part, owner.empty() ? kObjectChunk : kColumnChunk, content);
    }
    if (names.empty()) return {};
    Bytes names_part;
    for (const std::u16string& name : names) AppendName(names_part, name, format, code_page);
    Bytes blob(std::begin(format.property_magic), std::end(format.property_magic));
    AppendChunk(blob, kNamesChunk, names_part);
    blob.insert(blob.end(), owners_part.begin(), owners_part.end());
    return blob;
}

Property BooleanProperty(std::u16string name, bool value) {
    return {std::move(name), StoredType(ColumnType::Boolean), 0, {static_cast<std::uint8_t>(value ? 1 : 0)}};
}

Property TextProperty(std::u16string name, std::u16string_view value, const FileFormat& format, int code_page) {
    Bytes bytes = BytesOf(value, format, code_page, ErrorNumber::DataTypeConversion, name);
    return {std::move(name), StoredType(ColumnType::Memo), 0, std::move(bytes)};
}

}  // namespace qmtrain::jet
