#include "bridges/activation.h"

#include "bridges/media_interface.h"
#include "fake_library.h"
#include "foundation/exceptions.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using automation::com_ptr;
using lines = std::vector<std::string>;

constexpr CLSID sample_class = automation::guid_from_literal("00112233-4455-6677-8899-AABBCCDDEEFF");
constexpr const char* entry_point = "DllGetClassObject";

// An entry object of each of the two libraries, and one that is none.
class fake_media_factory final : public automation::dispatch_object<fake_media_factory> {
public:
    static constexpr IID iid = IID_IMediaFactory;
    static constexpr std::u16string_view name = u"IMediaFactory";
    std::int32_t Number() const { return 1; }
    static constexpr std::array members{automation::property<&fake_media_factory::Number>(1, u"Number")};
};
class fake_log_loader final : public automation::dispatch_object<fake_log_loader> {
public:
    static constexpr IID iid = IID_ILogLoader;
    static constexpr std::u16string_view name = u"ILogLoader";
    std::int32_t Number() const { return 2; }
    static constexpr std::array members{automation::property<&fake_log_loader::Number>(1, u"Number")};
};

template <class Object>
HRESULT entry_point_of(REFCLSID class_id, REFIID iid, void** object)
{
    test::asked::class_id = class_id;
    return automation::class_factory::make(
               [] { return com_ptr<IUnknown>(static_cast<IDispatch*>(automation::make_object<Object>().get())); })
        ->QueryInterface(iid, object);
}

/// Knows no interface, and leaves something in the result all the same.
class careless_object final : public IUnknown {
public:
    HRESULT QueryInterface(REFIID, void** object) noexcept override
    {
        *object = this;
        return E_NOINTERFACE;
    }
    ULONG AddRef() noexcept override { return ++references; }
    ULONG Release() noexcept override { return --references; }

    ULONG references = 0;
};

/// A factory whose objects fail to be made, or come out null. `left` is handed out whatever it answers.
class broken_factory final : public IClassFactory {
public:
    explicit broken_factory(HRESULT made, IUnknown* left = nullptr) : m_made(made), m_left(left) {}
    HRESULT QueryInterface(REFIID, void** object) noexcept override
    {
        *object = this;
        return S_OK;
    }
    ULONG AddRef() noexcept override { return ++references; }
    ULONG Release() noexcept override { return --references; }
    HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override
    {
        EXPECT_EQ(outer, nullptr);
        EXPECT_EQ(iid, IID_IUnknown);
        if (m_left)
            m_left->AddRef();
        *object = m_left;
        return m_made;
    }
    HRESULT LockServer(int) noexcept override { return S_OK; }

    ULONG references = 0;

private:
    HRESULT m_made;
    IUnknown* m_left;
};

broken_factory* factory_in_use = nullptr;

HRESULT broken_entry_point(REFCLSID, REFIID, void** object)
{
    factory_in_use->AddRef();
    return factory_in_use->QueryInterface(IID_IClassFactory, object);
}

HRESULT failing_entry_point(REFCLSID class_id, REFIID iid, void** object)
{
    broken_entry_point(class_id, iid, object);
    return E_ACCESSDENIED;
}

class activation : public testing::Test {
protected:
    activation()
    {
        forget_loaded_libraries();
        services.libraries.module_path = u"C:\\app\\viewer.exe";
    }
    ~activation() override
    {
        object.reset();
        forget_loaded_libraries();
        EXPECT_EQ(test::fake_object::living, 0);
    }
    template <class Function>
    void add(std::u16string name, Function* function)
    {
        services.files.files.insert(u"C:\\app\\" + name);
        services.libraries.add_library(u"C:\\app\\" + name, entry_point, test::as_export(function));
    }

    test_support::scripted_services services;
    com_ptr<IDispatch> object;
};

TEST_F(activation, creates_an_object_of_a_library)
{
    add(u"Lib.dll", &test::good_entry_point);
    EXPECT_EQ(activate_library_object(u"Lib.dll", sample_class, test::IID_IFake, object.put_void()), S_OK);
    ASSERT_TRUE(object);
    EXPECT_EQ(test::asked::class_id, sample_class);
    EXPECT_EQ(test::fake_object::living, 1);
    EXPECT_EQ(services.log.count("CoCreateInstance"), 0u);
    object.reset();
    EXPECT_EQ(test::fake_object::living, 0);
}

TEST_F(activation, keeps_loaded_libraries_for_the_whole_process)
{
    add(u"Lib.dll", &test::good_entry_point);
    EXPECT_EQ(activate_library_object(u"Lib.dll", sample_class, test::IID_IFake, object.put_void()), S_OK);
    (void)services.log.take();
    EXPECT_EQ(activate_library_object(u"Lib.dll", sample_class, test::IID_IFake, object.put_void()), S_OK);
    EXPECT_EQ(services.log.take(), lines{"GetProcAddress DllGetClassObject"});
    forget_loaded_libraries();
    EXPECT_EQ(activate_library_object(u"Lib.dll", sample_class, test::IID_IFake, object.put_void()), S_OK);
    EXPECT_EQ(services.log.count("LoadLibraryW"), 1u);
}

TEST_F(activation, answers_the_step_that_failed)
{
    EXPECT_EQ(activate_library_object(u"Missing.dll", sample_class, test::IID_IFake, object.put_void()),
              REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(object);

    add(u"Refusing.dll", &test::refusing_entry_point);
    EXPECT_EQ(activate_library_object(u"Refusing.dll", sample_class, test::IID_IFake, object.put_void()),
              E_ACCESSDENIED);

    add(u"Good.dll", &test::good_entry_point);
    EXPECT_EQ(activate_library_object(u"Good.dll", sample_class, IID_IMediaFactory, object.put_void()), E_NOINTERFACE);
    EXPECT_FALSE(object);
    EXPECT_EQ(test::fake_object::living, 0);
}

TEST_F(activation, releases_the_factory_whatever_it_answers)
{
    add(u"Broken.dll", &broken_entry_point);
    for (const HRESULT made : {E_OUTOFMEMORY, E_FAIL}) {
        broken_factory factory(made);
        factory_in_use = &factory;
        EXPECT_EQ(activate_library_object(u"Broken.dll", sample_class, test::IID_IFake, object.put_void()), made);
        EXPECT_EQ(factory.references, 0u);
    }
}

TEST_F(activation, refuses_results_that_are_null)
{
    broken_factory factory(S_OK);
    factory_in_use = &factory;
    add(u"Broken.dll", &broken_entry_point);
    EXPECT_EQ(activate_library_object(u"Broken.dll", sample_class, test::IID_IFake, object.put_void()), E_POINTER);
    EXPECT_EQ(factory.references, 0u);
    add(u"Empty.dll", &test::empty_entry_point);
    EXPECT_EQ(activate_library_object(u"Empty.dll", sample_class, test::IID_IFake, object.put_void()), E_POINTER);
}

TEST_F(activation, releases_what_a_failing_step_left)
{
    careless_object left;
    broken_factory factory(E_FAIL, &left);
    factory_in_use = &factory;
    add(u"Failing.dll", &failing_entry_point);
    EXPECT_EQ(activate_library_object(u"Failing.dll", sample_class, test::IID_IFake, object.put_void()),
              E_ACCESSDENIED);
    EXPECT_EQ(factory.references, 0u);
    add(u"Broken.dll", &broken_entry_point);
    EXPECT_EQ(activate_library_object(u"Broken.dll", sample_class, test::IID_IFake, object.put_void()), E_FAIL);
    EXPECT_EQ(factory.references, 0u);
    EXPECT_EQ(left.references, 0u);
}

TEST_F(activation, answers_no_object_without_the_interface)
{
    careless_object made;
    broken_factory factory(S_OK, &made);
    factory_in_use = &factory;
    add(u"Lib.dll", &broken_entry_point);
    void* result = nullptr;
    EXPECT_EQ(activate_library_object(u"Lib.dll", sample_class, test::IID_IFake, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(made.references, 0u);
}

TEST_F(activation, nulls_the_result_first)
{
    auto* before = reinterpret_cast<void*>(1);
    EXPECT_EQ(activate_library_object(u"Missing.dll", sample_class, test::IID_IFake, &before), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(before, nullptr);
}

TEST_F(activation, asks_for_the_registered_class_of_an_empty_name)
{
    EXPECT_EQ(activate_library_object(string(), sample_class, test::IID_IFake, object.put_void()), REGDB_E_CLASSNOTREG);
    const auto registered = test::make_fake();
    services.classes.instance = registered.get();
    EXPECT_EQ(activate_library_object(string(), sample_class, test::IID_IFake, object.put_void()), S_OK);
    EXPECT_TRUE(object);
    EXPECT_EQ(services.log.take(), (lines{"CoCreateInstance {00112233-4455-6677-8899-AABBCCDDEEFF} 0x00000017",
                                          "CoCreateInstance {00112233-4455-6677-8899-AABBCCDDEEFF} 0x00000017"}));
    EXPECT_EQ(activate_library_object(string(), sample_class, IID_IMediaFactory, object.put_void()), E_NOINTERFACE);
    EXPECT_FALSE(object);
}

TEST_F(activation, makes_the_media_factory)
{
    add(u"MediaForge40.dll", &entry_point_of<fake_media_factory>);
    EXPECT_EQ(activate_media_factory(object), S_OK);
    EXPECT_TRUE(object);
    EXPECT_EQ(test::asked::class_id, automation::guid_from_literal("471340C5-6A34-4191-9A18-EE68A1A9169B"));
    EXPECT_TRUE(automation::query_interface<IUnknown>(object.get(), IID_IMediaFactory));
    EXPECT_EQ(services.log.count("LoadLibraryW C:\\app\\MediaForge40.dll"), 1u);
}

TEST_F(activation, makes_a_new_log_loader_each_time)
{
    com_ptr<ILogLoader> first;
    search_report report;
    EXPECT_EQ(activate_log_loader(first, &report), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(report.loaded);
    add(u"LogKit.dll", &entry_point_of<fake_log_loader>);
    EXPECT_EQ(activate_log_loader(first, &report), S_OK);
    EXPECT_TRUE(report.has_entry_point);
    EXPECT_EQ(test::asked::class_id, automation::guid_from_literal("55A97042-5A18-42D8-81C7-04678F008A7E"));
    com_ptr<ILogLoader> second;
    EXPECT_EQ(activate_log_loader(second), S_OK);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(services.log.count("LoadLibraryW C:\\app\\LogKit.dll"), 1u);
}

TEST_F(activation, reads_a_class_id_from_text)
{
    EXPECT_EQ(class_id_from_text(u"{00112233-4455-6677-8899-AABBCCDDEEFF}"), sample_class);
    EXPECT_EQ(class_id_from_text(u"no class"), GUID_NULL);
    EXPECT_EQ(services.memory.allocations, 2);
    EXPECT_EQ(services.memory.releases, 2);
}

TEST_F(activation, raises_the_memory_exception_where_the_class_id_text_cannot_be_allocated)
{
    services.memory.fail_after = 1;
    EXPECT_THROW((void)class_id_from_text(u"{00112233-4455-6677-8899-AABBCCDDEEFF}"), memory_exception);
}

} // namespace
} // namespace cw
