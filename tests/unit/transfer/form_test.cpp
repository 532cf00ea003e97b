// What another web server's form parser is protected from.
#include "transfer/form.h"

#include <gtest/gtest.h>

#include "fake_civetweb.h"

namespace {

TEST(FormTest, OnlyMultipartBodiesWithABoundaryAreMultipart) {
  struct Row {
    const char* contentType;
    bool multipart;
  };
  for (const Row& row :
       {Row{nullptr, false}, Row{"application/x-www-form-urlencoded", false},
        Row{"multipart/form-data", false}, Row{"multipart/form-data;", false}, Row{"application/json", false},
        Row{"", false}, Row{"multipart/mixed; boundary=BBBB", false},
        Row{"multipart/form-data; boundary=BBBB", true}, Row{"multipart/form-data; boundary=\"BBBB\"", true},
        Row{"Multipart/Form-Data; boundary=BBBB", true}}) {
    mg_connection conn("POST", "/upload/logo");
    conn.Body("a=%");
    if (row.contentType != nullptr) conn.Header("Content-Type", row.contentType);
    EXPECT_EQ(sdkapi::HasMultipartBody(&conn), row.multipart) << row.contentType;
  }
}

TEST(FormTest, AQueryIsNoMultipartBody) {
  mg_connection conn("GET", "/upload/logo");
  conn.Query("a=1").Header("Content-Type", "multipart/form-data; boundary=BBBB");
  EXPECT_FALSE(sdkapi::HasMultipartBody(&conn));
}

}  // namespace
