#include "readers/mediaforge/extraction.h"

#include "automation/date.h"
#include "formats/md5.h"
#include "formats/sealed.h"
#include "readers/mediaforge/errors.h"
#include "readers/mediaforge/target_file.h"
#include "readers/storage/text.h"

#include <algorithm>
#include <ctime>
#include <limits>
#include <optional>
#include <vector>

namespace cw::mediaforge {
namespace {

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

struct stored_part {
    std::int64_t volume;
    std::int64_t entry;
    std::optional<std::int64_t> size_in_bytes; // as stored; not told of a file that has one entry
};

struct stored_file {
    std::string name;
    std::int64_t size_in_bytes;
    double date;
    formats::bytes signature; // empty or 16 bytes
    std::vector<stored_part> parts;
};

stored_file read_row(header_rows& queries, std::int64_t component, std::int64_t position)
{
    row_cursor& row = queries[rows::file];
    if (!row.find({component, position}))
        row.contradict(u"a file is not there");
    stored_file file;
    file.name = row.text(0);
    file.size_in_bytes = row.natural(1, largest);
    file.date = row.real(3);
    const formats::byte_view signature = row.blob(5);
    if (!row.is_null(5) && signature.size() != std::tuple_size_v<formats::md5_digest>)
        row.contradict(u"a signature is not 16 bytes");
    file.signature.assign(signature.begin(), signature.end());
    if (!row.is_null(7)) {
        file.parts.push_back({row.natural(7, largest), row.natural(8, largest), {}});
        return file;
    }
    row_cursor& part = queries[rows::file_part];
    part.rewind({component, position});
    while (part.next()) {
        if (part.integer(0) != static_cast<std::int64_t>(file.parts.size()))
            part.contradict(u"the parts of \"" + storage::to_utf16(file.name) + u"\" have a gap");
        file.parts.push_back({part.natural(1, largest), part.natural(2, largest), part.natural(3, largest)});
    }
    if (file.parts.empty())
        throw media_failure(error_number::no_content, file.name);
    return file;
}

/// The stored time, or nothing where no time is stored or none can be made of it.
std::optional<std::time_t> file_time(double date)
{
    SYSTEMTIME fields;
    if (date == 0 || !VariantTimeToSystemTime(date, &fields))
        return {};
    std::tm time{};
    time.tm_year = fields.wYear - 1900;
    time.tm_mon = fields.wMonth - 1;
    time.tm_mday = fields.wDay;
    time.tm_hour = fields.wHour;
    time.tm_min = fields.wMinute;
    time.tm_sec = fields.wSecond;
    return ::timegm(&time);
}

[[noreturn]] void differ(const stored_file& file, std::u16string_view why)
{
    throw media_failure(error_number::content_differs, file.name, why);
}

/// Hands the stored bytes of all parts to `take`.
void read_parts(const stored_file& file, volumes& source, const byte_sink& take)
{
    for (const stored_part& part : file.parts) {
        std::int64_t done = 0;
        source.read(part.volume, part.entry, [&](formats::byte_view piece) {
            done += static_cast<std::int64_t>(piece.size());
            take(piece);
        });
        if (part.size_in_bytes && done != *part.size_in_bytes)
            differ(file, u"one of its parts has another size");
    }
}

/// Hands the clear bytes of a file to `take`. The parts of a sealed file are one sealed stream.
void read_clear(const stored_file& file, volumes& source, formats::byte_view key, const byte_sink& take)
{
    if (key.empty()) {
        read_parts(file, source, take);
        return;
    }
    formats::payload_opener opener(key);
    formats::bytes clear;
    try {
        read_parts(file, source, [&](formats::byte_view piece) {
            clear.clear();
            opener.add(piece, clear);
            take(clear);
        });
        opener.finish();
    } catch (const formats::damaged_seal& error) {
        differ(file, storage::to_utf16(error.what()));
    }
}

} // namespace

void extract_file(header_rows& queries, volumes& source, std::int64_t component, std::int64_t position,
                  const std::string& target)
{
    const stored_file file = read_row(queries, component, position);
    formats::bytes key;
    if (row_cursor& media = queries[rows::media]; media.find({})) {
        const formats::byte_view stored = media.blob(1);
        key.assign(stored.begin(), stored.end());
    }

    target_file out(target);
    formats::md5 signature;
    std::int64_t rest = file.size_in_bytes;
    read_clear(file, source, key, [&](formats::byte_view piece) {
        // Whatever comes too much is never written.
        if (piece.size() > static_cast<std::uint64_t>(rest))
            differ(file, u"it is longer");
        rest -= static_cast<std::int64_t>(piece.size());
        signature.add(piece);
        out.write(piece);
    });
    if (rest != 0)
        differ(file, u"it is shorter");
    const formats::md5_digest digest = signature.finish();
    if (!file.signature.empty() && !std::equal(digest.begin(), digest.end(), file.signature.begin()))
        differ(file, u"the signatures are not the same");
    out.commit(file_time(file.date));
}

} // namespace cw::mediaforge
