// Forms: fields and their typed look-ups.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/http.h"

namespace {

struct Form {
  // The form's text ends where its length says, in the middle of what lies there.
  explicit Form(const std::string& text)
      : cgi(zu_cgi_malloc((text + "1&z=1").c_str(), static_cast<std::int32_t>(text.size()))) {}
  ~Form() { zu_cgi_free(cgi); }

  std::string text(const char* name, std::int32_t size = 64) {
    std::string out(64, '#');
    return zu_cgi_FormString(cgi, name, out.data(), size) == 1 ? out.c_str()
                                                               : "none" + out.substr(0, 1);
  }
  std::string number(const char* name) {
    std::int32_t value = -1;
    const int result = zu_cgi_FormInteger(cgi, name, &value, 7);
    return std::to_string(result) + " " + std::to_string(value);
  }

  zu_cgi* cgi;
};

TEST(Cgi, FieldsAreDecoded) {
  Form form("a=1&b=x+y%21&%6e+=%G1&a=2&e=&q=%4&=none&t==%&u&v=w&c");
  const std::string fields[][2] = {{"a", "1"}, {"b", "x y!"}, {"n ", "\x01"}, {"e", ""},
                                   {"q", "@"}, {"", "none"},  {"t", "="},     {"u&v", "w"}};
  for (const auto& [name, value] : fields) EXPECT_EQ(form.text(name.c_str()), value) << name;
  for (const char* name : {"c", "z", "A"})
    EXPECT_EQ(form.text(name), std::string("none\0", 5)) << name;
  EXPECT_EQ(
      zu_cgi_FormString(form.cgi, "a", nullptr, 0) + zu_cgi_FormString(form.cgi, "c", nullptr, 0),
      1);
  EXPECT_EQ(zu_cgi_malloc(nullptr, 1), nullptr);
  EXPECT_EQ(zu_cgi_malloc("a=1", -1), nullptr);
}

TEST(Cgi, LineEndsBecomeLineFeeds) {
  Form form("v=l1%0d%0al2&w=%0D%0D%0A%0D|%0A%0A%0D%0a");
  EXPECT_EQ(form.text("v"), "l1\nl2");
  EXPECT_EQ(form.text("v", 4), "l1\n");
  EXPECT_EQ(form.text("v", 1), "");
  EXPECT_EQ(form.text("w"), "\n\n\n|\n\n\n");
  EXPECT_EQ(form.text("w", 3), "\n\n");
}

TEST(Cgi, NumbersHaveDefaults) {
  Form form("n=+%0942abc&m=-9&p=%2B&big=99999999999&low=-99999999999&t=abc&e=&b=++");
  const std::string fields[][2] = {
      {"n", "1 42"}, {"m", "1 -9"}, {"p", "1 0"}, {"big", "1 2147483647"}, {"low", "1 -2147483648"},
      {"t", "0 7"},  {"e", "1 7"},  {"b", "0 7"}, {"none", "0 7"}};
  for (const auto& [name, expected] : fields)
    EXPECT_EQ(form.number(name.c_str()), expected) << name;
}

}  // namespace
