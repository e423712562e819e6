// Setup types show a part of the features, in the order of the whole.
#include "mediaforge_support.h"

#include "formats/media_format.h"

namespace cw::mediaforge_tests {
namespace {

class mediaforge_setup_types : public media_test {
protected:
    /// The features of a type as "name(children)" one after another.
    std::u16string shape(IDispatch* features)
    {
        std::u16string result;
        for (int i = 1; i <= count(features); ++i) {
            const object feature = item(features, i);
            if (i > 1)
                result += u' ';
            result += text(feature.get(), media_feature::Name);
            const object below = child(feature.get(), media_feature::SubFeatures);
            if (count(below.get()) > 0)
                result += u'(' + shape(below.get()) + u')';
        }
        return result;
    }

    /// f(g) a(b(c d) e), and types over them.
    std::string header(const std::vector<std::vector<std::int64_t>>& types)
    {
        return make_header([&](media_writer& writer) {
            const auto add = [&](std::int64_t parent, const char* name) {
                return writer.add_feature(parent, authoring::make_row(formats::feature_columns, {{u"Name", name}}));
            };
            EXPECT_EQ(add(0, "f"), f);
            EXPECT_EQ(add(0, "a"), a);
            EXPECT_EQ(add(a, "b"), b);
            add(b, "c");
            add(b, "d");
            add(a, "e");
            add(f, "g");
            writer.add_feature_requirement(a, f);
            for (const std::vector<std::int64_t>& features : types) {
                const auto id = writer.add_setup_type(authoring::make_row(formats::setup_type_columns, {}));
                for (const std::int64_t feature : features)
                    writer.add_setup_type_feature(id, feature);
            }
        });
    }
    // In the order that they were added.
    static constexpr std::int64_t f = 1, a = 2, b = 3, c = 4, d = 5, e = 6, g = 7;

    object features_of(IDispatch* media, int type)
    {
        return child(item(child(media, media::SetupTypes).get(), type).get(), media_setup_type::Features);
    }
};

TEST_F(mediaforge_setup_types, keep_the_tree_where_parents_belong)
{
    const object media = open(header({{f, a, b, c, d, e, g}, {a, b, d}, {c, e, g}, {}, {a, c}, {g, f}}));
    EXPECT_EQ(shape(child(media.get(), media::Features).get()), u"f(g) a(b(c d) e)");
    const std::u16string expected[] = {u"f(g) a(b(c d) e)", u"a(b(d))", u"g c e", u"", u"a c", u"f(g)"};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(shape(features_of(media.get(), i + 1).get()), expected[i]) << i;
}

TEST_F(mediaforge_setup_types, follow_positions_and_not_ids)
{
    const std::string path = header({{f, a, b, c, d, e, g}, {d, g, e}});
    // "a" before "f" and "d" before "c".
    alter(path, "UPDATE feature SET position = -1 WHERE id = 2; UPDATE feature SET position = 1 WHERE id = 1;"
                "UPDATE feature SET position = 0 WHERE id = 2; UPDATE feature SET position = 9 WHERE id = 4;"
                "UPDATE feature SET position = 0 WHERE id = 5; UPDATE feature SET position = 1 WHERE id = 4");
    const object media = open(path);
    EXPECT_EQ(shape(child(media.get(), media::Features).get()), u"a(b(d c) e) f(g)");
    EXPECT_EQ(shape(features_of(media.get(), 1).get()), u"a(b(d c) e) f(g)");
    EXPECT_EQ(shape(features_of(media.get(), 2).get()), u"d e g");
}

TEST_F(mediaforge_setup_types, show_features_whole)
{
    const object media = open(header({{a}}));
    const object feature = item(features_of(media.get(), 1).get(), 1);
    EXPECT_EQ(count(child(feature.get(), media_feature::SubFeatures).get()), 0);
    // What a feature requires is not cut to the type.
    EXPECT_EQ(shape(child(feature.get(), media_feature::RequiredFeatures).get()), u"f(g)");
    EXPECT_EQ(call(features_of(media.get(), 1).get(), media_collection::Item, 2).result, E_FAIL);
    EXPECT_EQ(call(features_of(media.get(), 1).get(), media_collection::Item, 0).result, E_FAIL);
}

TEST_F(mediaforge_setup_types, that_name_no_number_fail)
{
    const std::string path = header({{a}});
    alter(path, "INSERT INTO setup_type_feature VALUES (1, 'all')");
    const object media = open(path);
    const object type = item(child(media.get(), media::SetupTypes).get(), 1);
    const outcome answer = call(type.get(), media_setup_type::Features);
    EXPECT_EQ(answer.result, failure(31));
    EXPECT_TRUE(answer.tells(u"setup_type_feature"));
}

} // namespace
} // namespace cw::mediaforge_tests
