#include "readers/mediaforge/mszip_folders.h"

#include <fcntl.h>
#include <mspack.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <new>

namespace cw::mediaforge {
namespace {

constexpr std::size_t buffer_size_in_bytes = 256 * 1024;
constexpr std::size_t cabinet_header_size_in_bytes = 36;
constexpr std::size_t folder_record_size_in_bytes = 8;
constexpr std::size_t block_header_size_in_bytes = 8;
constexpr std::uint8_t signature[] = {'C', 'K'};

std::uint32_t little_endian(formats::byte_view bytes, std::size_t at, unsigned size)
{
    std::uint32_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value |= static_cast<std::uint32_t>(bytes[at + i]) << (8 * i);
    return value;
}

static_assert(std::endian::native == std::endian::little, "words are taken as they lie in memory");

/// All words of four bytes XORed, the lower byte first, two of them at a time.
std::uint32_t checksum(formats::byte_view data)
{
    std::uint64_t pairs = 0;
    for (; data.size() >= sizeof pairs; data = data.subspan(sizeof pairs)) {
        std::uint64_t pair = 0;
        std::memcpy(&pair, data.data(), sizeof pair);
        pairs ^= pair;
    }
    std::uint32_t sum = static_cast<std::uint32_t>(pairs) ^ static_cast<std::uint32_t>(pairs >> 32);
    if (data.size() >= 4) {
        sum ^= little_endian(data, 0, 4);
        data = data.subspan(4);
    }
    // The format takes the bytes that are left over the other way round.
    std::uint32_t rest = 0;
    for (const std::uint8_t byte : data)
        rest = rest << 8 | byte;
    return sum ^ rest;
}

} // namespace

mszip_folders::mszip_folders(const std::string& path)
    : m_path(path), m_stream(std::make_unique<z_stream>()), m_window(2 * window_size_in_bytes)
{
    if (inflateInit2(m_stream.get(), -MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
}

mszip_folders::~mszip_folders()
{
    inflateEnd(m_stream.get());
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

int mszip_folders::read(std::size_t folder, std::uint64_t offset, std::uint64_t length, const byte_sink& sink)
{
    if (length == 0)
        return MSPACK_ERR_OK;
    if (const int code = go_to(folder, offset); code != MSPACK_ERR_OK)
        return code;
    while (length > 0) {
        if (offset >= m_blockStart + m_blockSize) {
            if (const int code = next_block(); code != MSPACK_ERR_OK) {
                m_folder = no_folder;
                return code;
            }
            continue;
        }
        const formats::byte_view block = formats::byte_view(m_window).subspan(window_size_in_bytes, m_blockSize);
        const formats::byte_view rest = block.subspan(static_cast<std::size_t>(offset - m_blockStart));
        const formats::byte_view piece =
            rest.first(static_cast<std::size_t>(std::min<std::uint64_t>(rest.size(), length)));
        sink(piece);
        offset += piece.size();
        length -= piece.size();
    }
    return MSPACK_ERR_OK;
}

int mszip_folders::open_file()
{
    m_systemError = 0;
    if (m_descriptor >= 0)
        return MSPACK_ERR_OK;
    // A pipe of that name must not keep anybody waiting.
    m_descriptor = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status;
    if (m_descriptor >= 0 && ::fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode))
        return MSPACK_ERR_OK;
    m_systemError = m_descriptor < 0 ? errno : ENXIO;
    return MSPACK_ERR_OPEN;
}

formats::byte_view mszip_folders::take_bytes(std::size_t size)
{
    const auto buffered = [&] {
        return m_position >= m_bufferStart && m_position + size <= m_bufferStart + m_buffer.size();
    };
    if (!buffered()) {
        m_bufferStart = m_position;
        m_buffer.resize(buffer_size_in_bytes);
        std::size_t done = 0;
        while (done < m_buffer.size()) {
            const ssize_t got = ::pread(m_descriptor, m_buffer.data() + done, m_buffer.size() - done,
                                        static_cast<off_t>(m_bufferStart + done));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                m_systemError = errno;
            if (got <= 0)
                break;
            done += static_cast<std::size_t>(got);
        }
        m_buffer.resize(done);
        if (!buffered())
            return {};
    }
    const auto start = static_cast<std::size_t>(m_position - m_bufferStart);
    m_position += size;
    return formats::byte_view(m_buffer).subspan(start, size);
}

int mszip_folders::go_to(std::size_t folder, std::uint64_t offset)
{
    if (const int opened = open_file(); opened != MSPACK_ERR_OK)
        return opened;
    if (m_folder == folder && offset >= m_blockStart)
        return MSPACK_ERR_OK;
    m_position = cabinet_header_size_in_bytes + folder * folder_record_size_in_bytes;
    const formats::byte_view record = take_bytes(folder_record_size_in_bytes);
    if (record.empty())
        return MSPACK_ERR_READ;
    m_blocksLeft = little_endian(record, 4, 2);
    m_position = little_endian(record, 0, 4);
    m_folder = folder;
    m_blockStart = 0;
    m_blockSize = 0;
    m_historySize = 0;
    return MSPACK_ERR_OK;
}

int mszip_folders::next_block()
{
    if (m_blocksLeft == 0)
        return MSPACK_ERR_DATAFORMAT;
    --m_blocksLeft;
    const formats::byte_view head = take_bytes(block_header_size_in_bytes);
    if (head.empty())
        return MSPACK_ERR_READ;
    const std::uint32_t stored_checksum = little_endian(head, 0, 4);
    const std::uint32_t packed_size = little_endian(head, 4, 2);
    const std::uint32_t clear_size = little_endian(head, 6, 2);
    const std::uint32_t checksum_of_sizes = little_endian(head, 4, 4);
    const formats::byte_view packed = take_bytes(packed_size);
    if (packed.size() != packed_size)
        return MSPACK_ERR_READ;
    if (stored_checksum != 0 && checksum(packed) != (stored_checksum ^ checksum_of_sizes))
        return MSPACK_ERR_CHECKSUM;
    if (packed.size() < sizeof signature || !std::equal(std::begin(signature), std::end(signature), packed.begin()) ||
        clear_size == 0 || clear_size > window_size_in_bytes)
        return MSPACK_ERR_DECRUNCH;

    // The last bytes before the block may be referred to by it.
    std::memmove(m_window.data(), m_window.data() + m_blockSize, window_size_in_bytes);
    m_historySize = std::min(m_historySize + m_blockSize, window_size_in_bytes);
    m_blockStart += m_blockSize;
    m_blockSize = clear_size;
    z_stream& stream = *m_stream;
    inflateReset(&stream);
    if (m_historySize != 0)
        inflateSetDictionary(&stream, m_window.data() + window_size_in_bytes - m_historySize,
                             static_cast<uInt>(m_historySize));
    const formats::byte_view deflated = packed.subspan(sizeof signature);
    stream.next_in = const_cast<Bytef*>(deflated.data()); // zlib does not write there
    stream.avail_in = static_cast<uInt>(deflated.size());
    stream.next_out = m_window.data() + window_size_in_bytes;
    stream.avail_out = static_cast<uInt>(clear_size);
    return inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_out == 0 ? MSPACK_ERR_OK : MSPACK_ERR_DECRUNCH;
}

} // namespace cw::mediaforge
