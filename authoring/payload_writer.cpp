#include "authoring/payload_writer.h"

#include "authoring/stored_names.h"

#include <sodium.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace cw::authoring {
namespace {

constexpr std::size_t piece_size_in_bytes = 256 * 1024;
// What a protected volume shows of its files: neither names nor dates.
constexpr double sealed_file_date = 29'221; // 1980-01-01

class input_file {
public:
    explicit input_file(const std::string& path)
        : m_path(path), m_descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        if (m_descriptor < 0)
            fail();
    }
    ~input_file() { ::close(m_descriptor); }
    input_file(const input_file&) = delete;
    input_file& operator=(const input_file&) = delete;

    /// Fills as much of the buffer as the file has; the number of bytes.
    std::size_t read(std::span<std::uint8_t> buffer)
    {
        std::size_t filled = 0;
        while (filled < buffer.size()) {
            const ssize_t count = ::read(m_descriptor, buffer.data() + filled, buffer.size() - filled);
            if (count < 0 && errno != EINTR)
                fail();
            if (count == 0)
                break;
            filled += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        return filled;
    }

private:
    [[noreturn]] void fail() const
    {
        throw source_error("cannot read " + m_path + ": " + std::generic_category().message(errno));
    }

    const std::string& m_path;
    int m_descriptor;
};

formats::md5_digest checked_md5(const source_file& file, formats::md5& sum)
{
    const formats::md5_digest digest = sum.finish();
    if (file.details && file.details->expected_md5 && *file.details->expected_md5 != digest)
        throw source_error("Md5Signature: " + formats::md5_text(*file.details->expected_md5) + " given, but " +
                           file.name + " has " + formats::md5_text(digest));
    return digest;
}

using content_digest = std::array<std::uint8_t, 32>;

class content_hash {
public:
    content_hash() { crypto_generichash_init(&m_state, nullptr, 0, content_digest().size()); }
    void add(std::span<const std::uint8_t> piece) { crypto_generichash_update(&m_state, piece.data(), piece.size()); }
    content_digest finish()
    {
        content_digest digest;
        crypto_generichash_final(&m_state, digest.data(), digest.size());
        return digest;
    }

private:
    crypto_generichash_state m_state;
};

} // namespace

payload_writer::payload_writer(media_writer& media, staged_files& stage, const std::string& name,
                               const cabinet_options& options, std::uint64_t total_in_bytes, progress_callback progress)
    : m_media(media), m_setId(options.set_id),
      m_cabinets(stage, name, options, [this](const stored_part& part) { place(part); }),
      m_totalInBytes(total_in_bytes), m_progress(std::move(progress)), m_buffer(piece_size_in_bytes)
{
}

/// Visits the content in pieces, the last one marked; an empty file has one empty piece.
void payload_writer::read(const source_file& file, const piece_visitor& visit)
{
    if (file.path.empty()) {
        const std::string& content = *file.details->content;
        visit({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}, true);
        return;
    }
    input_file source(file.path);
    std::uint64_t left = file.size_in_bytes;
    bool last = false;
    while (!last) {
        const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(m_buffer.size(), left));
        const std::size_t count = source.read({m_buffer.data(), wanted});
        left -= count;
        last = left == 0;
        std::uint8_t beyond = 0;
        if (count != wanted || (last && source.read({&beyond, 1}) != 0))
            throw source_error("the file was changed while it was read: " + file.path);
        visit({m_buffer.data(), count}, last);
    }
}

void payload_writer::report_progress(const source_file& file, std::size_t size_in_bytes)
{
    m_doneInBytes += size_in_bytes;
    if (m_progress)
        m_progress(m_doneInBytes, m_totalInBytes, file.path.empty() ? file.name : file.path);
}

void payload_writer::add_clear(const source_file& file, const std::string& stored_as, file_row& values)
{
    m_cabinets.begin_file(stored_as, file.date);
    formats::md5 sum;
    read(file, [&](std::span<const std::uint8_t> piece, bool) {
        sum.add(piece);
        m_cabinets.write(piece);
        report_progress(file, piece.size());
    });
    values.md5 = checked_md5(file, sum);
}

void payload_writer::add_sealed(const source_file& file, file_row& values)
{
    // Read twice: the stream's start is derived from the content, so that equal starts mean equal
    // contents and no key stream ever covers two.
    formats::md5 sum;
    content_hash first;
    read(file, [&](std::span<const std::uint8_t> piece, bool) {
        sum.add(piece);
        first.add(piece);
    });
    values.md5 = checked_md5(file, sum);
    const content_digest digest = first.finish();

    std::string context = std::to_string(m_fileCount) + "/";
    context.append(digest.begin(), digest.end());
    formats::payload_sealer sealer(m_media.payload_key(), context);
    m_cabinets.begin_file(std::to_string(m_fileCount), sealed_file_date);
    content_hash second;
    formats::bytes sealed;
    read(file, [&](std::span<const std::uint8_t> piece, bool last) {
        second.add(piece);
        sealed.clear();
        sealer.add(piece, last, sealed);
        m_cabinets.write(sealed);
        report_progress(file, piece.size());
    });
    if (second.finish() != digest)
        throw source_error("the file was changed while it was read: " + file.path);
}

void payload_writer::add(std::int64_t component, const std::string& component_name, const source_file& file)
{
    pending_row pending{component, {}, false, false};
    file_row& values = pending.values;
    values.name = file.name;
    values.size_in_bytes = file.size_in_bytes;
    values.date = file.date;
    if (file.details) {
        values.version = file.details->version;
        values.flags = file.details->flags;
        pending.compressed_size_is_given = file.details->compressed_size_in_bytes.has_value();
        values.compressed_size_in_bytes = file.details->compressed_size_in_bytes.value_or(0);
        pending.complete = !file.details->has_payload;
        if (pending.complete)
            values.md5 = file.details->expected_md5;
    }
    m_pending.push_back(std::move(pending));
    if (!m_pending.back().complete) {
        // References to the ends of a deque stay good while it grows and shrinks elsewhere.
        file_row& waiting = m_pending.back().values;
        ++m_fileCount;
        if (m_media.payload_key().empty())
            add_clear(file, stored_name(component_name, file.name), waiting);
        else
            add_sealed(file, waiting);
    }
    write_complete_rows();
}

void payload_writer::place(const stored_part& part)
{
    while (m_pending[m_firstUnplaced].complete)
        ++m_firstUnplaced;
    pending_row& pending = m_pending[m_firstUnplaced];
    pending.values.parts.push_back({part.volume, part.entry, part.size_in_bytes});
    if (!pending.compressed_size_is_given)
        pending.values.compressed_size_in_bytes += part.compressed_size_in_bytes;
    pending.complete = part.last;
}

void payload_writer::write_complete_rows()
{
    while (!m_pending.empty() && m_pending.front().complete) {
        m_media.add_file(m_pending.front().component, m_pending.front().values);
        m_pending.pop_front();
    }
    m_firstUnplaced = 0;
}

std::size_t payload_writer::finish()
{
    const std::vector<written_volume> volumes = m_cabinets.finish();
    write_complete_rows();
    for (const written_volume& volume : volumes)
        m_media.add_volume(volume.number, volume.size_in_bytes, m_setId, volume.entries);
    return volumes.size();
}

} // namespace cw::authoring
