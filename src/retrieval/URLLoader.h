// URLLoader: how the bytes at an address are had. Behind it stand the network, the disk, or a
// test.
//
// Threads: `start`, `cancel` and `resume` any; they return at once. The client's functions are
// called one after another on a thread of the loader's choice (perhaps within `start`), return
// quickly, and may call the loader.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "records/URLRequest.h"

namespace siftwell {

// What a loader tells of one load. After didFailWithError or didFinishLoading it says no more.
class URLLoadClient {
public:
    virtual ~URLLoadClient() = default;

    // Whether to go on to where the response leads.
    virtual bool willSendRequest(const URLResponse& redirectResponse) = 0;

    // Whether the body is wanted. There may be several: the last one counts.
    virtual bool didReceiveResponse(const URLResponse& response) = 0;

    // The server asks who is there. Whether it is to be told: nobody ever is.
    virtual bool didReceiveAuthenticationChallenge() = 0;

    enum class Appetite {
        More,
        Later,  // not these bytes: they are offered again after resume()
        NoMore,
    };
    virtual Appetite didReceiveData(std::string_view bytes) = 0;

    virtual void didFailWithError(int code) = 0;
    virtual void didFinishLoading() = 0;
};

// What didFailWithError says. Other codes are those of the network library.
namespace loadError {
inline constexpr int kTimedOut = -1001;
inline constexpr int kHostNotFound = -1003;
inline constexpr int kCannotConnect = -1004;
inline constexpr int kConnectionLost = -1005;
inline constexpr int kUnavailable = -1008;
inline constexpr int kAuthenticationCancelled = -1012;
inline constexpr int kNoSuchFile = -1100;
inline constexpr int kNoPermission = -1102;
inline constexpr int kInsecure = -1200;
}  // namespace loadError

class URLLoader {
public:
    using LoadID = std::uint64_t;  // 0 is no load

    virtual ~URLLoader() = default;

    // The client lives until the load has ended.
    virtual LoadID start(const URLRequest& request, std::shared_ptr<URLLoadClient> client) = 0;
    // The client is told nothing more, but for a call that is under way.
    virtual void cancel(LoadID load) = 0;
    // Clients that said Later are asked again.
    virtual void resume() {}
};

}  // namespace siftwell
