#include "detect/output/JsonText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace detect {

namespace {

/// The shortest text that is read as the same number, with a point so that others take it for a real one, too.
std::string textOf(double number) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    std::string text(digits.data(), end);
    return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

class Writer {
public:
    explicit Writer(bool isPretty) : m_isPretty(isPretty) {}

    std::string text(const CPLJSONObject& value) {
        switch (value.GetType()) {
        case CPLJSONObject::Type::Object:
            return members(value);
        case CPLJSONObject::Type::Array:
            return items(value.ToArray());
        case CPLJSONObject::Type::Double:
            if (const double number = value.ToDouble(); std::isfinite(number)) {
                return textOf(number);
            }
            break;
        default:
            break;
        }
        return value.Format(CPLJSONObject::PrettyFormat::Plain);
    }

private:
    std::string members(const CPLJSONObject& object) {
        m_depth += 1;
        std::string all;
        for (const CPLJSONObject& member : object.GetChildren()) {
            all += (all.empty() ? "" : ",") + lineBreak() + '"' + member.GetName() + "\":" + text(member);
        }
        m_depth -= 1;
        return '{' + all + lineBreak() + '}';
    }

    std::string items(const CPLJSONArray& array) {
        m_depth += 1;
        std::string all;
        for (int i = 0; i < array.Size(); ++i) {
            all += (all.empty() ? "" : ",") + lineBreak() + text(array[i]);
        }
        m_depth -= 1;
        return '[' + all + lineBreak() + ']';
    }

    std::string lineBreak() const { return m_isPretty ? '\n' + std::string(2 * m_depth, ' ') : ""; }

    bool m_isPretty;
    std::size_t m_depth = 0;
};

} // namespace

std::string jsonText(const CPLJSONObject& object, bool isPretty) {
    return Writer(isPretty).text(object);
}

} // namespace detect
