/* The part of the SLP API (RFC 2614, C binding) that this agent offers. Names, types and values
 * are the API's own, so a caller compiles unchanged against another library's <slp.h>. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    SLP_LAST_CALL = 1, /**< to a callback: the search is over, no URL comes with it */
    SLP_OK = 0,
    SLP_LANGUAGE_NOT_SUPPORTED = -1,
    SLP_PARSE_ERROR = -2,
    SLP_INVALID_REGISTRATION = -3,
    SLP_SCOPE_NOT_SUPPORTED = -4,
    SLP_AUTHENTICATION_ABSENT = -6,
    SLP_AUTHENTICATION_FAILED = -7,
    SLP_INVALID_UPDATE = -13,
    SLP_REFRESH_REJECTED = -15,
    SLP_NOT_IMPLEMENTED = -17,
    SLP_BUFFER_OVERFLOW = -18,
    SLP_NETWORK_TIMED_OUT = -19,
    SLP_NETWORK_INIT_FAILED = -20,
    SLP_MEMORY_ALLOC_FAILED = -21,
    SLP_PARAMETER_BAD = -22,
    SLP_NETWORK_ERROR = -23,
    SLP_INTERNAL_SYSTEM_ERROR = -24,
    SLP_HANDLE_IN_USE = -25,
    SLP_TYPE_ERROR = -26
} SLPError;

typedef enum { SLP_FALSE = 0, SLP_TRUE = 1 } SLPBoolean;

typedef void *SLPHandle;

/** Called once for each distinct URL with SLP_OK, and at the end with SLP_LAST_CALL and no URL.
 * `pcSrvURL` is the library's and lives until the callback returns; `sLifetime` is in seconds.
 * After SLP_FALSE the search ends at once and the callback is not called again. */
typedef SLPBoolean SLPSrvURLCallback(SLPHandle hSLP, const char *pcSrvURL, unsigned short sLifetime,
                                     SLPError errCode, void *pvCookie);

/** Opens a handle and reads "/etc/slp.conf" for it; what of net.slp.interfaces no interface has is
 * told on standard output. `pcLang` is the language tag of the requests
 * (none or empty: "en"). Codes: SLP_PARAMETER_BAD without `phSLP`, SLP_NOT_IMPLEMENTED for an
 * asynchronous handle, SLP_MEMORY_ALLOC_FAILED. */
SLPError SLPOpen(const char *pcLang, SLPBoolean isAsync, SLPHandle *phSLP);

/** Closes a handle. None, or a handle whose search is still running, is left alone. */
void SLPClose(SLPHandle hSLP);

/** Searches for services of a type; returns when the search is over. Without a scope list (none
 * or empty) the scopes are those of net.slp.useScopes; without a filter every service matches.
 * Codes: SLP_PARAMETER_BAD without handle, type or callback, SLP_HANDLE_IN_USE from within a
 * callback of the same handle, SLP_BUFFER_OVERFLOW for a request longer than net.slp.MTU allows,
 * SLP_NETWORK_INIT_FAILED when no socket can be had, SLP_NETWORK_ERROR when no interface can be
 * used. A failed search makes no SLP_LAST_CALL; URLs found before the failure have been handed
 * over. */
SLPError SLPFindSrvs(SLPHandle hSLP, const char *pcServiceType, const char *pcScopeList,
                     const char *pcSearchFilter, SLPSrvURLCallback callback, void *pvCookie);

#ifdef __cplusplus
}
#endif
