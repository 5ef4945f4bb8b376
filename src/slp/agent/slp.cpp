// The calls of the SLP API (RFC 2614): handles, arguments and codes. Their callers know no
// exceptions: an agent without memory fails with a code.
#include "slp/agent/slp.h"

#include "config/printable.h"
#include "slp/agent/interfaces.h"
#include "slp/agent/service_search.h"
#include "slp/agent/value_list.h"

#include <cstdio>
#include <memory>
#include <new>

namespace
{

constexpr char DEFAULT_LANGUAGE[] = "en";
constexpr size_t UNKNOWN_SIZE = 256; ///< names of interfaces, with the NUL

bool is_given(const char *text)
{
    return text != nullptr && *text != '\0';
}

/// Says what of net.slp.interfaces is no interface: the search goes on without it.
void tell_unknown_interfaces(const slp_properties &properties)
{
    const std::string unknown = slp_join_list(slp_unknown_interfaces(properties));
    char text[UNKNOWN_SIZE];
    if (!unknown.empty())
        printf("# ERROR: net.slp.interfaces: no interface has %s\n",
               printable_text(text, unknown.c_str(), sizeof text));
}

/// Marks a handle as in use as long as it lives.
struct in_use_mark {
    slp_agent *agent;

    explicit in_use_mark(slp_agent *marked) : agent(marked)
    {
        agent->in_use = true;
    }
    in_use_mark(const in_use_mark &) = delete;
    in_use_mark &operator=(const in_use_mark &) = delete;
    ~in_use_mark()
    {
        agent->in_use = false;
    }
};

} // namespace

SLPError SLPOpen(const char *pcLang, SLPBoolean isAsync, SLPHandle *phSLP)
try {
    if (phSLP == nullptr)
        return SLP_PARAMETER_BAD;
    *phSLP = nullptr;
    if (isAsync != SLP_FALSE)
        return SLP_NOT_IMPLEMENTED;
    std::unique_ptr<slp_agent> agent(new (std::nothrow) slp_agent);
    if (!agent)
        return SLP_MEMORY_ALLOC_FAILED;
    agent->settings.properties = slp_properties_read(SLP_PROPERTIES_PATH);
    tell_unknown_interfaces(agent->settings.properties);
    agent->language = is_given(pcLang) ? pcLang : DEFAULT_LANGUAGE;
    *phSLP = agent.release();
    return SLP_OK;
} catch (const std::bad_alloc &) {
    return SLP_MEMORY_ALLOC_FAILED;
}

void SLPClose(SLPHandle hSLP)
{
    std::unique_ptr<slp_agent> agent(static_cast<slp_agent *>(hSLP));
    if (agent && agent->in_use)
        static_cast<void>(agent.release()); // the search that runs still needs it
}

// The callback's own parameters are taken for this function's by newer releases.
// cppcheck-suppress funcArgOrderDifferent
SLPError SLPFindSrvs(SLPHandle hSLP, const char *pcServiceType, const char *pcScopeList,
                     const char *pcSearchFilter, SLPSrvURLCallback callback, void *pvCookie)
try {
    auto *agent = static_cast<slp_agent *>(hSLP);
    if (agent == nullptr || !is_given(pcServiceType) || callback == nullptr)
        return SLP_PARAMETER_BAD;
    if (agent->in_use)
        return SLP_HANDLE_IN_USE;
    const in_use_mark mark(agent);
    const slp_properties &properties = agent->settings.properties;
    slp_request request;
    request.language = agent->language;
    request.service_type = pcServiceType;
    request.scopes = is_given(pcScopeList) ? pcScopeList : properties.use_scopes;
    request.filter = is_given(pcSearchFilter) ? pcSearchFilter : "";
    request.xid = slp_new_xid();
    slp_results results = {hSLP, callback, pvCookie, static_cast<size_t>(properties.max_results),
                           {},   false};
    const SLPError code = slp_search_services(agent->settings, request, &results);
    if (code == SLP_OK && !results.refused)
        callback(hSLP, nullptr, 0, SLP_LAST_CALL, pvCookie);
    return code;
} catch (const std::bad_alloc &) {
    return SLP_MEMORY_ALLOC_FAILED;
}
