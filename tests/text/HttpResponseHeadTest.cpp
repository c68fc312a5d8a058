#include "text/HttpResponseHead.h"

#include <gmock/gmock.h>

namespace siftwell {
namespace {

using testing::ElementsAre;

HttpResponseHead headOf(std::initializer_list<const char*> lines) {
    HttpResponseHead head;
    for (const char* line : lines) head.add(line);
    return head;
}

TEST(HttpResponseHeadTest, HeadsOfAnyShapeAreRead) {
    auto head = headOf({"HTTP/2 200\r\n", "content-TYPE:text/Plain ; format=flowed;charset=x\r\n",
                        "Content-Length: 12\r\n"});
    EXPECT_EQ(head.status(), 200);
    EXPECT_EQ(head.contentType().mimeType, "text/plain");
    EXPECT_EQ(head.contentType().charset, "x");
    EXPECT_EQ(head.contentLength(), 12);
    head = headOf({"HTTP/1.1 302 Found", "Location:x", "Content-Length: 1x", "no field",
                   "Content-Type: ;charset=\"a b\"; x"});
    EXPECT_TRUE(head.isRedirect());
    EXPECT_EQ(head.contentType().mimeType, std::nullopt);
    EXPECT_EQ(head.contentType().charset, "a b");
    EXPECT_EQ(head.contentLength(), std::nullopt);
    for (const char* broken : {"HTTP/", "HTTP/1.1", "HTTP/1.1 ", "HTTP/1.1 x", "HTTP/1.1 99999"}) {
        EXPECT_LT(headOf({broken}).status(), 1000) << broken;
    }
}

TEST(HttpResponseHeadTest, CodingsKeepTheirOrderAndTheNextHeadForgetsThem) {
    auto head = headOf({"HTTP/1.1 200 OK", "Content-Encoding: GZip,, identity", "content-range: x",
                        "Content-Encoding: br", "Transfer-Encoding: deflate, chunked"});
    EXPECT_THAT(head.contentCodings(), ElementsAre("gzip", "br"));
    EXPECT_THAT(head.transferCodings(), ElementsAre("deflate"));
    EXPECT_TRUE(head.isPartOfBody());
    head.add("HTTP/1.1 200 OK");
    EXPECT_THAT(head.contentCodings(), ElementsAre());
    EXPECT_FALSE(head.isPartOfBody());
}

}  // namespace
}  // namespace siftwell
