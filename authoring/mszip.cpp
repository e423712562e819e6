#include "authoring/mszip.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>

namespace cw::authoring {
namespace {

std::uint32_t checksum(std::span<const std::uint8_t> data, std::uint32_t sum)
{
    for (; data.size() >= 4; data = data.subspan(4)) {
        sum ^= static_cast<std::uint32_t>(data[0]) | static_cast<std::uint32_t>(data[1]) << 8 |
               static_cast<std::uint32_t>(data[2]) << 16 | static_cast<std::uint32_t>(data[3]) << 24;
    }
    // The format takes the bytes that are left over the other way round.
    std::uint32_t rest = 0;
    for (const std::uint8_t byte : data)
        rest = rest << 8 | byte;
    return sum ^ rest;
}

/// Fills in the header of the block whose data stand behind `start` and the room for it.
void complete_block(std::vector<std::uint8_t>& out, std::size_t start, std::size_t clear_size)
{
    const std::size_t size = out.size() - start - block_header_size_in_bytes;
    std::array<std::uint8_t, block_header_size_in_bytes> header{};
    const auto put = [&](std::size_t at, std::uint64_t value, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            header[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
    };
    put(4, size, 2);
    put(6, clear_size, 2);
    const std::span<const std::uint8_t> data(out.data() + start + block_header_size_in_bytes, size);
    put(0, checksum({header.data() + 4, 4}, checksum(data, 0)), 4);
    std::copy(header.begin(), header.end(), out.begin() + static_cast<std::ptrdiff_t>(start));
}

} // namespace

struct mszip_encoder::state {
    z_stream stream{};
    ~state() { deflateEnd(&stream); }
};

mszip_encoder::mszip_encoder() : m_state(std::make_unique<state>())
{
    if (deflateInit2(&m_state->stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
}

mszip_encoder::~mszip_encoder() = default;

std::size_t mszip_encoder::encode(std::span<const std::uint8_t> folder, std::vector<std::uint8_t>& out)
{
    z_stream& stream = m_state->stream;
    std::size_t count = 0;
    for (std::size_t done = 0; done < folder.size(); ++count) {
        const std::size_t size = std::min(block_size_in_bytes, folder.size() - done);
        const std::size_t start = out.size();
        out.resize(start + block_header_size_in_bytes);
        out.push_back('C');
        out.push_back('K');
        const std::size_t data_start = out.size();

        deflateReset(&stream);
        if (done != 0)
            deflateSetDictionary(&stream, folder.data() + done - block_size_in_bytes,
                                 static_cast<uInt>(block_size_in_bytes));
        // One stored deflate block is the longest form that the format has room for.
        const std::size_t longest = 5 + size;
        out.resize(data_start + longest);
        stream.next_in = const_cast<Bytef*>(folder.data() + done);
        stream.avail_in = static_cast<uInt>(size);
        stream.next_out = out.data() + data_start;
        stream.avail_out = static_cast<uInt>(longest);
        const bool fits = deflate(&stream, Z_FINISH) == Z_STREAM_END;
        out.resize(fits ? out.size() - stream.avail_out : data_start);
        if (!fits) {
            out.push_back(1); // the last block of its stream, stored
            append_number(out, size, 2);
            append_number(out, ~size, 2);
            out.insert(out.end(), folder.begin() + static_cast<std::ptrdiff_t>(done),
                       folder.begin() + static_cast<std::ptrdiff_t>(done + size));
        }
        complete_block(out, start, size);
        done += size;
    }
    return count;
}

std::size_t store_blocks(std::span<const std::uint8_t> folder, std::vector<std::uint8_t>& out)
{
    std::size_t count = 0;
    for (; !folder.empty(); ++count) {
        const auto block = folder.first(std::min(block_size_in_bytes, folder.size()));
        folder = folder.subspan(block.size());
        const std::size_t start = out.size();
        out.resize(start + block_header_size_in_bytes);
        out.insert(out.end(), block.begin(), block.end());
        complete_block(out, start, block.size());
    }
    return count;
}

void append_number(std::vector<std::uint8_t>& out, std::uint64_t value, std::size_t size_in_bytes)
{
    for (std::size_t i = 0; i < size_in_bytes; ++i)
        out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

} // namespace cw::authoring
