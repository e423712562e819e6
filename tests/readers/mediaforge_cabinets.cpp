#include "mediaforge_cabinets.h"

#include <zlib.h>

#include <algorithm>

namespace cw::mediaforge_tests {
namespace {

constexpr std::size_t block_size_in_bytes = 32768;

void append(std::string& bytes, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> (8 * i));
}

std::string deflated(const std::string& clear, const std::string& history)
{
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY);
    if (!history.empty())
        deflateSetDictionary(&stream, reinterpret_cast<const Bytef*>(history.data()),
                             static_cast<uInt>(history.size()));
    std::string packed(clear.size() + 1000, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(clear.data()));
    stream.avail_in = static_cast<uInt>(clear.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return "CK" + packed;
}

/// Sixteen bits at a time, the lower byte first, bits from the top: the order of LZX.
class bit_writer {
public:
    void add(unsigned value, int bits)
    {
        for (int i = bits - 1; i >= 0; --i) {
            m_word = m_word << 1 | (value >> i & 1);
            if (++m_count == 16) {
                append(bytes, m_word, 2);
                m_word = 0;
                m_count = 0;
            }
        }
    }
    void align()
    {
        if (m_count != 0)
            add(0, 16 - m_count);
    }
    std::string bytes;

private:
    unsigned m_word = 0;
    int m_count = 0;
};

/// One block of LZX that is not compressed; each frame of 32 KiB is one of them.
std::string lzx_frame(const std::string& clear, bool first)
{
    constexpr unsigned uncompressed = 3;
    bit_writer bits;
    if (first)
        bits.add(0, 1); // no translation of calls
    bits.add(uncompressed, 3);
    bits.add(static_cast<unsigned>(clear.size()) >> 8, 16);
    bits.add(static_cast<unsigned>(clear.size()) & 0xFF, 8);
    bits.align();
    for (int i = 0; i < 3; ++i)
        append(bits.bytes, 1, 4); // the distances used last
    bits.bytes += clear;
    if (clear.size() % 2)
        bits.bytes += '\0';
    return bits.bytes;
}

/// The arithmetic coder of Quantum, for short texts: literals alone, no model grows old.
class quantum_writer {
public:
    quantum_writer()
    {
        m_selector = fresh(0, 7);
        for (int i = 0; i < 4; ++i)
            m_literals.push_back(fresh(64 * i, 64));
    }
    std::string pack(const std::string& clear)
    {
        for (const char c : clear) {
            const int value = static_cast<unsigned char>(c);
            encode(m_selector, value / 64);
            encode(m_literals[static_cast<std::size_t>(value / 64)], value);
        }
        // Enough bits to name a place inside the last interval, and room for a reader that looks ahead.
        ++m_pending;
        emit(m_low >= 0x4000);
        for (int i = 0; i < 64; ++i)
            put(false);
        return m_bytes;
    }

private:
    struct symbol {
        int value;
        unsigned frequency; // of itself and all behind it
    };
    using model = std::vector<symbol>;

    static model fresh(int first, int count)
    {
        model all;
        for (int i = 0; i <= count; ++i)
            all.push_back({first + i, static_cast<unsigned>(count - i)});
        return all;
    }

    void encode(model& from, int value)
    {
        std::size_t i = 0;
        while (from[i].value != value)
            ++i;
        const unsigned range = m_high - m_low + 1;
        const unsigned total = from[0].frequency;
        m_high = m_low + from[i].frequency * range / total - 1;
        m_low += from[i + 1].frequency * range / total;
        for (std::size_t k = 0; k <= i; ++k)
            from[k].frequency += 8;
        for (;;) {
            if ((m_low & 0x8000) == (m_high & 0x8000)) {
                emit((m_high & 0x8000) != 0);
            } else if ((m_low & 0x4000) != 0 && (m_high & 0x4000) == 0) {
                ++m_pending;
                m_low &= 0x3FFF;
                m_high |= 0x4000;
            } else {
                return;
            }
            m_low = m_low << 1 & 0xFFFF;
            m_high = (m_high << 1 & 0xFFFF) | 1;
        }
    }

    void emit(bool bit)
    {
        put(bit);
        for (; m_pending > 0; --m_pending)
            put(!bit);
    }

    void put(bool bit)
    {
        m_byte = m_byte << 1 | (bit ? 1u : 0u);
        if (++m_bits == 8) {
            m_bytes += static_cast<char>(m_byte);
            m_byte = 0;
            m_bits = 0;
        }
    }

    model m_selector;
    std::vector<model> m_literals;
    unsigned m_low = 0;
    unsigned m_high = 0xFFFF;
    int m_pending = 0;
    unsigned m_byte = 0;
    int m_bits = 0;
    std::string m_bytes;
};

} // namespace

std::vector<cabinet_block> pack(const std::string& clear, packing how)
{
    std::vector<cabinet_block> blocks;
    std::string history;
    for (std::size_t at = 0; at < clear.size(); at += block_size_in_bytes) {
        const std::string piece = clear.substr(at, block_size_in_bytes);
        std::string packed = piece;
        if (how == packing::mszip)
            packed = deflated(piece, history);
        else if (how == packing::lzx)
            packed = lzx_frame(piece, at == 0);
        else if (how == packing::quantum)
            packed = quantum_writer().pack(piece);
        blocks.push_back({packed, static_cast<std::uint16_t>(piece.size())});
        history = piece;
    }
    return blocks;
}

std::string make_cabinet(const cabinet_plan& plan)
{
    std::vector<std::vector<cabinet_block>> blocks;
    std::string names;
    std::vector<std::uint32_t> offsets;
    for (std::size_t folder = 0; folder < plan.folders.size(); ++folder) {
        std::string clear;
        for (const cabinet_file& file : plan.files)
            if (file.folder == folder || file.folder >= continued_from_previous)
                clear += file.content;
        blocks.push_back(folder == 0 && !plan.blocks.empty() ? plan.blocks : pack(clear, plan.folders[folder]));
    }
    std::vector<std::uint32_t> filled(plan.folders.size());
    std::string directory;
    for (const cabinet_file& file : plan.files) {
        std::uint32_t& offset = filled[file.folder < filled.size() ? file.folder : 0];
        append(directory, file.content.size(), 4);
        append(directory, offset, 4);
        append(directory, file.folder, 2);
        append(directory, file.date, 2);
        append(directory, file.time, 2);
        append(directory, file.attributes, 2);
        directory += file.name + '\0';
        offset += static_cast<std::uint32_t>(file.content.size());
    }
    std::string neighbours;
    if (!plan.previous.empty())
        neighbours += plan.previous + '\0' + "disk" + '\0';
    if (!plan.next.empty())
        neighbours += plan.next + '\0' + "disk" + '\0';

    const std::size_t directory_start = 36 + neighbours.size() + 8 * plan.folders.size();
    std::string folders;
    std::string data;
    for (std::size_t folder = 0; folder < plan.folders.size(); ++folder) {
        append(folders, directory_start + directory.size() + data.size(), 4);
        append(folders, blocks[folder].size(), 2);
        append(folders, static_cast<std::uint16_t>(plan.folders[folder]), 2);
        for (const cabinet_block& block : blocks[folder]) {
            append(data, 0, 4); // no checksum
            append(data, block.packed.size(), 2);
            append(data, block.clear_size_in_bytes, 2);
            data += block.packed;
        }
    }
    std::string head = "MSCF";
    append(head, 0, 4);
    append(head, directory_start + directory.size() + data.size(), 4);
    append(head, 0, 4);
    append(head, directory_start, 4);
    append(head, 0, 4);
    append(head, 0x0103, 2);
    append(head, plan.folders.size(), 2);
    append(head, plan.files.size(), 2);
    append(head, (plan.previous.empty() ? 0u : 1u) | (plan.next.empty() ? 0u : 2u), 2);
    append(head, plan.set_id, 2);
    append(head, plan.index, 2);
    return head + neighbours + folders + directory + data;
}

} // namespace cw::mediaforge_tests
