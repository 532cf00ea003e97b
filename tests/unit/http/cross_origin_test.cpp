// The header that lets a page of another origin read a reply.
#include "http/cross_origin.h"

#include <gtest/gtest.h>

#include <string>

#include "fake_civetweb.h"

namespace {

class CrossOriginTest : public testing::Test {
 protected:
  CrossOriginTest() { conn_.Header("Origin", "http://console"); }
  ~CrossOriginTest() override { sdkapi::AllowOrigin(nullptr); }

  std::string Header() const { return std::string(sdkapi::CrossOriginHeader(&conn_).text()); }

  mg_connection conn_;
};

TEST_F(CrossOriginTest, WithoutAnAllowedOriginThereIsNone) {
  EXPECT_EQ(Header(), "");
  sdkapi::AllowOrigin("");
  EXPECT_EQ(Header(), "");
}

TEST_F(CrossOriginTest, AnOriginThatFitsIsNamedWhole) {
  sdkapi::AllowOrigin("*");
  EXPECT_EQ(Header(), "Access-Control-Allow-Origin: *\r\n");
  for (const std::size_t length : {1U, 255U, 287U, 288U}) {
    const std::string origin(length, 'o');
    sdkapi::AllowOrigin(origin.c_str());
    EXPECT_EQ(Header(), "Access-Control-Allow-Origin: " + origin + "\r\n");
  }
  for (const std::size_t length : {289U, 290U, 1000U}) {
    const std::string origin(length, 'o');
    sdkapi::AllowOrigin(origin.c_str());
    EXPECT_EQ(Header(), "") << "half an origin would be another one";
  }
}

TEST_F(CrossOriginTest, ARequestOfTheSameOriginGetsNone) {
  sdkapi::AllowOrigin("*");
  const mg_connection conn;
  EXPECT_EQ(sdkapi::CrossOriginHeader(&conn).text(), "");
}

}  // namespace
