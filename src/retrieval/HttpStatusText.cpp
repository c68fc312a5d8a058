#include "retrieval/HttpStatusText.h"

#include <algorithm>
#include <iterator>

#include "base/Translate.h"

namespace siftwell {

namespace {

struct Meaning {
    int status;
    const char* text;
};

// N_ marks for translation what is looked up below.
#define N_(text) text
constexpr Meaning kMeanings[] = {
    {400, N_("bad request")},
    {401, N_("a password is needed")},
    {402, N_("payment is required")},
    {403, N_("access is forbidden")},
    {404, N_("not found")},
    {405, N_("the way of asking is not allowed")},
    {406, N_("there is no acceptable form of it")},
    {407, N_("the proxy needs a password")},
    {408, N_("the server gave up waiting")},
    {409, N_("conflict")},
    {410, N_("no longer there")},
    {411, N_("a length is required")},
    {412, N_("a condition is not met")},
    {413, N_("the request is too large")},
    {414, N_("the address is too long")},
    {415, N_("the media type is not supported")},
    {416, N_("there is no such range")},
    {417, N_("an expectation is not met")},
    {421, N_("the request went to the wrong server")},
    {425, N_("too early")},
    {429, N_("too many requests")},
    {431, N_("the header is too large")},
    {451, N_("not available for legal reasons")},
    {500, N_("internal server error")},
    {501, N_("not implemented")},
    {502, N_("bad gateway")},
    {503, N_("the service is unavailable")},
    {504, N_("the gateway timed out")},
    {505, N_("the version of HTTP is not supported")},
    {507, N_("the server has no room left")},
    {511, N_("the network asks for a login")},
};
#undef N_

}  // namespace

std::string localizedStringForStatusCode(int status) {
    const auto* const found =
        std::find_if(std::begin(kMeanings), std::end(kMeanings),
                     [status](const Meaning& meaning) { return meaning.status == status; });
    if (found != std::end(kMeanings)) return _(found->text);
    if (status >= 500) return _("server error");
    return status >= 400 ? _("client error") : _("no error");
}

bool forbidsRetrying(int status) {
    return status == 401 || status == 403 || status == 407 || status == 410;
}

}  // namespace siftwell
