// The parser beside the simple one of reference_parser.h: same events, same lines, same result.
#include <set>

#include "gtest/gtest.h"
#include "xml/document_maker.h"
#include "xml/documents.h"
#include "xml/recorder.h"
#include "xml/reference_parser.h"

namespace ruvex {
namespace {

// Returns what both say of the document.
outcome expect_agreement(std::string_view document, int abort_at = -1) {
  const handling how = {.with_lines = true, .abort_at = abort_at};
  const outcome got = parse(document, how);
  const outcome expected = reference_parse(document, how);
  if (got != expected) {
    ADD_FAILURE() << printable(document) << "\n     got " << got.text() << "\nexpected "
                  << expected.text();
  }
  return got;
}

TEST(Differential, EveryBeginningAndEveryByteReplacedOrPrecededByAnother) {
  for (const std::string_view document : all_documents()) {
    for (std::size_t at = 0; at < document.size(); ++at) {
      expect_agreement(document.substr(0, at + 1));
      for (const char byte : "<>&\"'/=\r\n !-?\0"sv) {
        std::string changed(document);
        changed[at] = byte;
        expect_agreement(changed);
        changed.insert(at + 1, document.substr(at, 1));
        expect_agreement(changed);
      }
    }
  }
}

TEST(Differential, RandomDocuments) {
  document_maker make;
  std::set<std::int32_t> errors;
  int accepted = 0;
  for (int count = 0; count < 8000; ++count) {
    const std::string document = count % 2 == 0 ? make.jumble() : make.nearly_whole();
    const outcome got = expect_agreement(document, count % 5 == 0 ? make.below(20) : -1);
    errors.insert(got.error);
    accepted += got.error == SIMPLE_XML_NO_ERROR;
  }
  EXPECT_EQ(errors, (std::set<std::int32_t>{0, 3, 4, 5, 6, 7, 10, 11, 13, 1000}))
      << "the documents meet every error";
  EXPECT_GT(accepted, 1000);
}

}  // namespace
}  // namespace ruvex
