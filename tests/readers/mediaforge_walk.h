// Calls everything that a media offers, whatever it answers. Used to show that damaged media do no harm.
#pragma once

#include "mediaforge_support.h"

namespace cw::mediaforge_tests {

struct walk_result {
    unsigned calls = 0;
    unsigned failures = 0;
};

/// Reads all members of a media and of all objects below it, at most `most_items` of a collection.
walk_result walk_media(IDispatch* media, int most_items = 20);

/// Rows in every table of a header.
void fill_every_table(media_writer& writer);

} // namespace cw::mediaforge_tests
