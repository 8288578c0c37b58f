// record.txt: the words that are read are read again from the file that is written of them.
#include "special/AttributeHistory.h"
#include "tests/fuzz/Input.h"

namespace {

AttributeHistory wordsOf(const std::string& bytes) {
    AttributeHistory history;
    takeAttributes(bytes, history);
    return history;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = textOf(wordsOf(fuzz::textOf(data, size)));
    fuzz::require(textOf(wordsOf(text)) == text);
    return 0;
}
