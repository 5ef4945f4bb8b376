// Lists of texts separated by commas, as SLP writes scopes, addresses and time-outs.
#include "slp/agent/value_list.h"

#include <algorithm>
#include <strings.h>

std::string_view slp_trim(std::string_view text)
{
    constexpr std::string_view BLANKS = " \t\r\n";
    const size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

std::vector<std::string> slp_split_list(std::string_view list)
{
    std::vector<std::string> items;
    for (;;) {
        const size_t comma = list.find(',');
        const std::string_view item = slp_trim(list.substr(0, comma));
        if (!item.empty())
            items.emplace_back(item);
        if (comma == std::string_view::npos)
            return items;
        list.remove_prefix(comma + 1);
    }
}

std::string slp_join_list(const std::vector<std::string> &items)
{
    std::string joined;
    for (const std::string &item : items) {
        if (!joined.empty())
            joined += ',';
        joined += item;
    }
    return joined;
}

bool slp_same_text(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool slp_scopes_overlap(std::string_view a, std::string_view b)
{
    return slp_scopes_without(a, b) != slp_join_list(slp_split_list(a));
}

std::string slp_scopes_without(std::string_view list, std::string_view served)
{
    const std::vector<std::string> others = slp_split_list(served);
    std::vector<std::string> left;
    for (const std::string &scope : slp_split_list(list)) {
        const bool is_served =
            std::any_of(others.begin(), others.end(),
                        [&](const std::string &other) { return slp_same_text(scope, other); });
        if (!is_served)
            left.push_back(scope);
    }
    return slp_join_list(left);
}
