// Reading the table of contents of a xar archive for its checksums.
#include "TandemService/package/XarChecksums.h"

#include <charconv>
#include <string_view>

#include <glib.h>

namespace {

constexpr std::size_t kMaxDepth = 200;
constexpr std::size_t kMaxRuns = 100'000;

/// What the parser is in the middle of.
struct Parsing {
    XarTable& table;
    std::vector<std::string> path; ///< the open elements
    XarRun run;                    ///< of the open <data> or <ea>, or of the table's <checksum>
    bool good = true;
};

bool isRunElement(const Parsing& state, std::string_view name)
{
    return name == "data" || name == "ea" || (name == "checksum" && state.path.size() == 3);
}

bool parseNumber(std::string_view text, std::uint64_t& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

void startElement(
    GMarkupParseContext*, const char* element, const char** names, const char** values, void* data, GError**)
{
    Parsing& state = *static_cast<Parsing*>(data);
    state.path.emplace_back(element);
    state.good = state.good && state.path.size() <= kMaxDepth;
    if (isRunElement(state, element))
        state.run = {};
    const std::string_view name = element;
    if (name != "checksum" && name != "archived-checksum")
        return;
    for (; *names; ++names, ++values) {
        if (std::string_view(*names) == "style")
            state.run.style = *values;
    }
}

void endElement(GMarkupParseContext*, const char* element, void* data, GError**)
{
    Parsing& state = *static_cast<Parsing*>(data);
    const std::string_view name = element;
    if (isRunElement(state, name)) {
        if (name == "checksum")
            state.table.toc = state.run;
        else
            state.table.members.push_back(state.run);
        // Bytes that nothing vouches for are not trusted.
        state.good = state.good && !state.run.style.empty()
            && (name == "checksum" || !state.run.checksum.empty()) && state.table.members.size() <= kMaxRuns;
        state.run = {};
    }
    state.path.pop_back();
}

void addText(GMarkupParseContext*, const char* text, gsize length, void* data, GError**)
{
    Parsing& state = *static_cast<Parsing*>(data);
    if (state.path.size() < 2 || !state.good)
        return;
    const std::string_view name = state.path.back();
    const std::string_view parent = state.path[state.path.size() - 2];
    const std::string_view value(text, length);
    const bool ofRun = parent == "data" || parent == "ea";
    const bool ofToc = parent == "checksum" && state.path.size() == 4;
    if ((ofRun || ofToc) && name == "offset")
        state.good = parseNumber(value, state.run.offset);
    else if ((ofRun && name == "length") || (ofToc && name == "size"))
        state.good = parseNumber(value, state.run.length);
    else if (ofRun && name == "archived-checksum")
        state.run.checksum = value;
}

} // namespace

bool parseXarTable(const std::string& xml, XarTable& table)
{
    const GMarkupParser parser = {startElement, endElement, addText, nullptr, nullptr};
    Parsing state {table, {}, {}, true};
    GMarkupParseContext* const context
        = g_markup_parse_context_new(&parser, G_MARKUP_TREAT_CDATA_AS_TEXT, &state, nullptr);
    const bool parsed
        = g_markup_parse_context_parse(context, xml.data(), static_cast<gssize>(xml.size()), nullptr)
        && g_markup_parse_context_end_parse(context, nullptr);
    g_markup_parse_context_free(context);
    return parsed && state.good && !table.toc.style.empty();
}
