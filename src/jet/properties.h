// The property blob of a catalogue object (column LvProp): what is not in the table definition.
//
//   "MR2\0" (Jet 3 "KKD\0") | chunks: u32 length, u16 type
//   type 0x80: the property names, each u16 bytes and text
//   type 0: properties of the object, type 1: of a column:
//     u32 name block length | u16 bytes | name | records: u16 length, u8 flag, u8 type, u16 name index, u16 bytes,
//     value
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/error.h"
#include "core/value.h"
#include "jet/bytes.h"

namespace qmtrain::jet {

struct Property {
    std::u16string name;
    std::uint8_t type = 0;  // as of a column
    std::uint8_t flag = 0;
    Bytes value;

    bool AsBoolean() const { return !value.empty() && value[0] != 0; }
    std::u16string AsText(const FileFormat& format, int code_page) const;
};

struct Properties {
    // By the column's name; "" holds the object's own.
    std::map<std::u16string, std::vector<Property>> owners;

    const Property* Find(std::u16string_view owner, std::u16string_view name) const;
    void Set(const std::u16string& owner, Property property);
    void Remove(const std::u16string& owner, std::u16string_view name);

    // Raises FileDamaged when the blob is malformed.
    static Properties Read(const ByteView& blob, const FileFormat& format, int code_page);

    // Empty when there are no properties. Raises InvalidName when the code page of a Jet 3 file lacks a name's
    // character.
    Bytes Write(const FileFormat& format, int code_page) const;
};

Property BooleanProperty(std::u16string name, bool value);

// Raises DataTypeConversion when the code page of a Jet 3 file lacks a character.
Property TextProperty(std::u16string name, std::u16string_view value, const FileFormat& format, int code_page);

}  // namespace qmtrain::jet
