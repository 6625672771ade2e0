#include "target.hpp"
#include "tool/json/document.hpp"
#include "tool/json/print.hpp"

#include <algorithm>

using nlohmann::json;

namespace
{

/** The depth as the library's own parser counts it; 0 for no document. */
std::size_t parsedDepth(const std::string& text)
{
    std::size_t deepest = 0;
    const auto note =
        [&deepest](int depth, json::parse_event_t event, json& /*value*/)
    {
        const bool opens = event == json::parse_event_t::object_start ||
                           event == json::parse_event_t::array_start;
        const auto level = static_cast<std::size_t>(depth) + 1;
        deepest = opens ? std::max(deepest, level) : deepest;
        // Nothing is kept: a document that is too deep cannot be destroyed.
        return false;
    };
    const json parsed = json::parse(text, note, false);
    return parsed.is_discarded() && !json::accept(text) ? 0 : deepest;
}

} // namespace

/** A document from a service, printed as `show` does. */
void fuzz::target(Input input)
{
    const std::string text = textOf(input);
    const bool tooDeep = isTooDeep(text);
    require(tooDeep == (parsedDepth(text) > maxJsonDepth) ||
                !json::accept(text),
            "the depth is that of the document");
    const json document = parseDocument(text);
    require(!tooDeep, "a document that is too deep is refused");
    printJson(document, 0);
    require(printed().empty() == document.empty(),
            "an empty document prints nothing, any other prints");
    require(printed().empty() || printed().back() == '\n', "lines are ended");
    require(parseDocument(document.dump()) == document,
            "a document that was printed can be sent and read again");
}
