// Property lists that another library wrote, in both forms, compared value by value with what that library
// holds.
#include "tests/Platform/CoreFoundation/PropertyListSupport.h"

#include "Platform/Support/Unicode.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <random>
#include <type_traits>

using namespace property_list;

namespace {

struct FreePlist {
    void operator()(plist_t node) const { plist_free(node); }
};
using Plist = std::unique_ptr<std::remove_pointer_t<plist_t>, FreePlist>;

/// Makes random lists; the same seed makes the same list.
class Generator {
public:
    explicit Generator(unsigned seed)
        : m_random(seed)
    {
    }

    plist_t value(int levels)
    {
        switch (below(levels > 0 ? 8 : 6)) {
        case 0:
            return plist_new_string(text().c_str());
        case 1:
            return plist_new_bool(static_cast<uint8_t>(below(2)));
        case 2:
            return plist_new_uint(m_random() >> below(64));
        case 3:
            return plist_new_real(static_cast<double>(below(2'000'001)) / 64 - 9000);
        case 4:
            return plist_new_date(static_cast<int32_t>(below(2'000'000'000)) - 1'000'000'000, 0);
        case 5: {
            const std::string bytes = this->bytes();
            return plist_new_data(bytes.data(), bytes.size());
        }
        case 6:
            return array(levels);
        default:
            return dictionary(levels);
        }
    }

private:
    unsigned below(unsigned bound) { return static_cast<unsigned>(m_random() % bound); }

    std::string text()
    {
        static constexpr std::array kPieces = {"a", "Z9", " ", "&", "<x>", "\"", "\xC3\xA9", "\xE2\x82\xAC",
            "\xF0\x9F\x98\x80", "0123456789abcdef"};
        std::string text;
        for (unsigned i = below(6); i > 0; --i)
            text += kPieces[below(kPieces.size())];
        return text;
    }

    std::string bytes()
    {
        std::string bytes;
        for (unsigned i = below(40); i > 0; --i)
            bytes += static_cast<char>(below(256));
        return bytes;
    }

    plist_t array(int levels)
    {
        plist_t array = plist_new_array();
        for (unsigned i = below(20); i > 0; --i)
            plist_array_append_item(array, value(levels - 1));
        return array;
    }

    plist_t dictionary(int levels)
    {
        plist_t dictionary = plist_new_dict();
        for (unsigned i = below(20); i > 0; --i)
            plist_dict_set_item(dictionary, (text() + std::to_string(i)).c_str(), value(levels - 1));
        return dictionary;
    }

    std::mt19937_64 m_random;
};

/// What the other library holds, as a value of ours.
Value valueOf(plist_t node);

Value arrayOf(plist_t node)
{
    std::vector<Value> values;
    for (uint32_t i = 0; i < plist_array_get_size(node); ++i)
        values.push_back(valueOf(plist_array_get_item(node, i)));
    return array(values);
}

Value dictionaryOf(plist_t node)
{
    std::vector<std::pair<std::u16string, Value>> pairs;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iterator, &key, &value);
        if (!value)
            break;
        pairs.emplace_back(wideFromUtf8(key), valueOf(value));
        std::free(key);
    }
    std::free(iterator);
    return dictionary(pairs);
}

Value valueOf(plist_t node)
{
    uint8_t flag = 0;
    uint64_t number = 0;
    double floating = 0;
    int32_t seconds = 0;
    int32_t microseconds = 0;
    char* bytes = nullptr;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        plist_get_bool_val(node, &flag);
        return boolean(flag != 0);
    case PLIST_UINT:
        plist_get_uint_val(node, &number);
        return integer(static_cast<SInt64>(number)); // it writes the highest bit as a sign
    case PLIST_REAL:
        plist_get_real_val(node, &floating);
        return real(floating);
    case PLIST_DATE:
        plist_get_date_val(node, &seconds, &microseconds);
        return date(seconds);
    case PLIST_STRING: {
        plist_get_string_val(node, &bytes);
        Value value = text(wideFromUtf8(bytes));
        std::free(bytes);
        return value;
    }
    case PLIST_DATA: {
        plist_get_data_val(node, &bytes, &number);
        Value value = blob({bytes, static_cast<std::size_t>(number)});
        std::free(bytes);
        return value;
    }
    case PLIST_ARRAY:
        return arrayOf(node);
    default:
        return dictionaryOf(node);
    }
}

using Writer = void (*)(plist_t, char**, uint32_t*);

std::string written(plist_t node, Writer writer)
{
    char* bytes = nullptr;
    uint32_t length = 0;
    writer(node, &bytes, &length);
    std::string text(bytes, length);
    std::free(bytes);
    return text;
}

constexpr unsigned kListCount = 300;
constexpr int kLevels = 3;

} // namespace

TEST(PropertyListOracle, BinaryListsOfAnotherWriterHoldWhatItWrote)
{
    for (unsigned seed = 0; seed < kListCount; ++seed) {
        const Plist list(Generator(seed).value(kLevels));
        EXPECT_TRUE(reads(written(list.get(), plist_to_bin), valueOf(list.get()))) << "seed " << seed;
    }
}

TEST(PropertyListOracle, XMLListsOfAnotherWriterHoldWhatItWrote)
{
    for (unsigned seed = 0; seed < kListCount; ++seed) {
        const Plist list(Generator(seed).value(kLevels));
        const std::string xmlText = written(list.get(), plist_to_xml);
        EXPECT_TRUE(reads(xmlText, valueOf(list.get()))) << "seed " << seed << "\n" << xmlText;
    }
}
