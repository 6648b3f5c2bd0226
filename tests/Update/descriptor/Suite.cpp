#include "tests/Update/descriptor/Suite.h"

#include "Platform/Support/Unicode.h"
#include "Update/download/DescriptorFetch.h"

namespace {

std::function<void()>& fetchHook()
{
    static std::function<void()> hook;
    return hook;
}

std::vector<CLumStringW>& fetchedList()
{
    static std::vector<CLumStringW> urls;
    return urls;
}

} // namespace

std::vector<CLumStringW>& fetchedDescriptorURLs()
{
    if (fetchHook())
        fetchHook()();
    return fetchedList();
}

Suite::Suite()
{
    fetchedList().clear();
    (void)m_home.folder().makeFolder("site");
    (void)install("Top");
}

Suite::~Suite()
{
    fetchHook() = nullptr;
}

std::filesystem::path Suite::bundle(std::string_view name) const
{
    return m_home.folder().at("apps") / (std::string(name) + ".bundle");
}

std::filesystem::path Suite::install(std::string_view name, std::string_view version, std::string site) const
{
    if (site.empty())
        site = "file://" + m_home.folder().at("site").string();
    return BundleBuilder().name(name).version(version).site(site).url("/").build(
        m_home.folder(), "apps/" + std::string(name) + ".bundle");
}

void Suite::publish(
    std::string_view name, const DescriptorBuilder& descriptor, std::string_view version) const
{
    (void)m_home.folder().write(
        "site/Update_" + std::string(name) + "_" + std::string(version) + "_Mac.xml", descriptor.xml());
}

std::filesystem::path Suite::offer(std::string_view name, DescriptorBuilder descriptor) const
{
    publish(name, descriptor.file(fileNamed(name)));
    return install(name);
}

void Suite::pretendFetched(std::string_view name, std::uintmax_t bytes) const
{
    const std::string file = "Update_" + std::string(name) + "_1.0.0.0_Mac.xml";
    std::filesystem::resize_file(
        m_home.folder().write("cache/com.Velmora.Tandem.XMLFile/" + file, "<UPDATEINFO>"), bytes);
    fetchedList().emplace_back(u"file://" + (m_home.folder().at("site") / file).u16string());
}

std::unique_ptr<CXMLInterpret> Suite::load(std::string_view xml) const
{
    const std::filesystem::path path = m_home.folder().write("top.xml", xml);
    OpacLumFSRef* const ref = Lum0FSRCreateWithPath(path.u16string().c_str());
    auto interpreter = std::make_unique<CXMLInterpret>(ref);
    Lum0FSRRelease(ref);
    return interpreter;
}

bool Suite::parse(CXMLInterpret& interpreter) const
{
    return interpreter.ParseFile(u"Top", u"1.0.0.0", bundle("Top").u16string().c_str(), u"http://top/");
}

std::unique_ptr<CXMLInterpret> Suite::parsed(const DescriptorBuilder& descriptor) const
{
    auto interpreter = load(descriptor.xml());
    (void)parse(*interpreter); // the caller looks at what is left
    return interpreter;
}

void Suite::onFetch(std::function<void()> hook) const
{
    fetchHook() = std::move(hook);
}

std::size_t Suite::fetched() const
{
    return fetchedList().size();
}

void InterpreterAccess::setSubFolder(CXMLInterpret& interpreter, const UniChar* name)
{
    interpreter.m_tempSubFolder = CLumStringW(name);
}

void InterpreterAccess::holdNullFiles(CXMLInterpret& interpreter, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        interpreter.m_files.AddItem(nullptr);
}

void InterpreterAccess::limitSearching(CXMLInterpret& interpreter, UInt64 units)
{
    interpreter.m_constants.setUnitsLeft(units);
}

std::vector<std::string> namesOf(const CXMLInterpret& interpreter)
{
    std::vector<std::string> names;
    for (const auto& file : interpreter.filesToUpdate())
        names.push_back(utf8FromWide(file->name()));
    return names;
}

DescriptorFile fileNamed(std::string_view name, std::string_view version)
{
    DescriptorFile file;
    file.name = name;
    file.version = version;
    file.location = std::string(name) + ".zip";
    return file;
}
