// The stream's head and the single picture.
#include "transfer/mjpeg.h"

#include "library_fixture.h"

namespace {

constexpr const char* kStreamHead =
    "HTTP/1.1 200 OK\r\nCache-Control: no-cache\r\nPragma: no-cache\r\nExpires: Thu, 01 Dec 1994 16:00:00 "
    "GMT\r\n"
    "Connection: close\r\nContent-Type: multipart/x-mixed-replace; boundary=--w00t\r\n\r\n";

class MjpegTest : public sdktest::LibraryTest {};

TEST_F(MjpegTest, TheHeadIsExact) {
  mg_connection conn;
  SendHttpMjpegHead(&conn);
  EXPECT_EQ(conn.output, kStreamHead);
  EXPECT_FALSE(conn.keepAlive);
}

struct PictureCase {
  unsigned int type;
  const char* mediaType;
};
class PictureTest : public MjpegTest, public testing::WithParamInterface<PictureCase> {};

TEST_P(PictureTest, IsOnePart) {
  mg_connection conn;
  EXPECT_EQ(SendHttpPicFile(&conn, "pic\0ture", 8, GetParam().type), 1);
  EXPECT_EQ(conn.output, kStreamHead + std::string("--w00t\r\nContent-Type: ") + GetParam().mediaType +
                             "\r\nContent-Length: 8\r\n\r\n" + std::string("pic\0ture", 8) + "\r\n");
}

INSTANTIATE_TEST_SUITE_P(Types, PictureTest,
                         testing::Values(PictureCase{1, "application/x-bmp"}, PictureCase{0, "image/jpeg"},
                                         PictureCase{2, "image/jpeg"},
                                         PictureCase{4294967295U, "image/jpeg"}));

TEST_F(MjpegTest, AnEmptyPictureIsSentWhole) {
  mg_connection conn;
  EXPECT_EQ(SendHttpPicFile(&conn, "", 0, 0), 1);
  EXPECT_EQ(conn.output,
            kStreamHead + std::string("--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: 0\r\n\r\n\r\n"));
}

TEST_F(MjpegTest, AFailedWriteOfThePictureGivesZero) {
  mg_connection conn;
  conn.failWriteFrom = 3;  // head, part head, picture
  EXPECT_EQ(SendHttpPicFile(&conn, "picture", 7, 0), 0);
  EXPECT_EQ(conn.output,
            kStreamHead + std::string("--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: 7\r\n\r\n"));
}

}  // namespace
