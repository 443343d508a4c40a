#pragma once

#include "records/record_envelope.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tavu {

/// One pair of the map that stands for a \a Record. A table of them holds the pairs in the order in
/// which they are written.
template <typename Record>
struct RecordField
{
    std::string_view key;
    void (*write)(MessageWriter &writer, const Record &record);
    void (*read)(MessageReader &reader, Record &record);
};

/// How each kind of value is written and read: a text, a block or an unsigned number.
struct RecordValue
{
    static void write(MessageWriter &writer, const std::string &text) { writer.writeString(text); }
    static void write(MessageWriter &writer, uint64_t number) { writer.writeUint(number); }
    static void write(MessageWriter &writer, const ByteBlock &block)
    {
        writer.writeBlob(block.data(), static_cast<uint32_t>(block.size()));
    }
    static void write(MessageWriter &writer, const SharedBlock &block)
    {
        write(writer, block.bytes());
    }

    static void read(MessageReader &reader, std::string &text) { text = reader.readText(); }
    static void read(MessageReader &reader, ByteBlock &block) { readBlock(reader, block); }
    static void read(MessageReader &reader, SharedBlock &block)
    {
        ByteBlock bytes;
        readBlock(reader, bytes);
        block = std::move(bytes);
    }
    template <typename Number>
    static void read(MessageReader &reader, Number &number)
    {
        number = static_cast<Number>(reader.readPosInt());
    }
};

/// Names the record that a member belongs to; never called.
template <typename Record, typename Value>
Record recordOf(Value Record::*);

/// The field of one member.
template <auto member, typename Record = decltype(recordOf(member))>
constexpr RecordField<Record> field(std::string_view key)
{
    return {
        key,
        [](MessageWriter &writer, const Record &record) {
            RecordValue::write(writer, record.*member);
        },
        [](MessageReader &reader, Record &record) { RecordValue::read(reader, record.*member); }};
}

/// Writes a record's map; its last field only \a withLast.
template <typename Record, size_t N>
void writeFields(MessageWriter &writer, const RecordField<Record> (&fields)[N],
                 const Record &record, bool withLast)
{
    const size_t pairs = withLast ? N : N - 1;
    writer.writeMapHeader(static_cast<uint32_t>(pairs));
    for (size_t i = 0; i < pairs; ++i) {
        writer.writeString(fields[i].key.data(), fields[i].key.size());
        fields[i].write(writer, record);
    }
}

/// Finds a field by its key. Looks first behind the one found before: keys mostly come in order.
template <typename Record, size_t N>
const RecordField<Record> *findField(const RecordField<Record> (&fields)[N], std::string_view key,
                                     size_t &next)
{
    for (size_t i = 0; i < N; ++i) {
        const RecordField<Record> &field = fields[(next + i) % N];
        if (field.key == key) {
            next += i + 1;
            return &field;
        }
    }
    return nullptr;
}

/// Reads the \a pairs pairs of a record's map, in any order. Unknown ones are skipped.
template <typename Record, size_t N>
void readFields(MessageReader &reader, const RecordField<Record> (&fields)[N], Record &record,
                uint32_t pairs)
{
    for (size_t next = 0; pairs > 0; --pairs) {
        if (const RecordField<Record> *field = findField(fields, reader.readText(), next))
            field->read(reader, record);
        else
            reader.skipValue();
    }
}

} // namespace tavu
