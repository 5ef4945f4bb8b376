// The text rules of SNMP answers: what is a printer, who made it, and how it is described.
#include "snmp/classify.h"

#include "config/text.h"

#include <cstdio>
#include <cstring>
#include <strings.h>

namespace
{

constexpr char MANUFACTURER_KEY[] = "MFG:";
constexpr char MODEL_KEY[] = "MDL:";

/// A vendor word that begins with one of them is cut to it.
constexpr const char *BRAND_PREFIXES[] = {"Taliven", "Orvel", "Ramo", "Pemberk", "Quilla"};

/// A model that names one of them is a description by itself.
constexpr const char *MODEL_BRANDS[] = {"Taliven", "Orvel", "RAMO",   "Pemberk",
                                        "Quilla",  "Norta", "Marlowe"};

/// Tell the vendor of a model when nothing else does.
struct product_line {
    const char *marker;
    const char *vendor;
};
constexpr product_line PRODUCT_LINES[] = {
    {"PNE-", "Taliven"}, {"QD-", "Taliven"}, {"VRA-", "Taliven"},
    {"DWO-", "Taliven"}, {"4702d", "RAMO"},  {"Brightmoor", "Orvel"},
};

/// Whether the text is one of `words`, whatever the case of its letters.
template<size_t COUNT>
constexpr bool is_among(const char *const (&words)[COUNT], const char *text)
{
    for (const char *word : words) {
        const char *c = text;
        while (*c != '\0' && (*c | 0x20) == (*word | 0x20))
            ++c, ++word;
        if (*c == '\0' && *word == '\0')
            return true;
    }
    return false;
}

constexpr bool brands_agree()
{
    for (const char *brand : BRAND_PREFIXES) {
        if (!is_among(MODEL_BRANDS, brand))
            return false;
    }
    for (const product_line &line : PRODUCT_LINES) {
        if (!is_among(BRAND_PREFIXES, line.vendor))
            return false;
    }
    return true;
}

static_assert(brands_agree(), "a brand prefix is a brand of models too, and the vendor of every "
                              "product line a brand prefix");

constexpr size_t VENDOR_BUFFER_SIZE = 32;      ///< what every vendor buffer holds at least
constexpr char UNSET_VENDOR[] = "FF FF FF FF"; ///< erased memory, printed as hexadecimal pairs
constexpr char SERIES_SUFFIX[] = " Series";

bool contains(const char *text, const char *part)
{
    return strcasestr(text, part) != nullptr;
}

void clean_vendor(char *vendor)
{
    for (const char *brand : BRAND_PREFIXES) {
        const size_t length = strlen(brand);
        if (strncasecmp(vendor, brand, length) == 0) {
            vendor[length] = '\0';
            return;
        }
    }
    if (contains(vendor, UNSET_VENDOR))
        vendor[0] = '\0';
}

void infer_vendor(char *vendor, const char *model)
{
    for (const product_line &line : PRODUCT_LINES) {
        if (contains(model, line.marker)) {
            safe_strncpy(vendor, line.vendor, VENDOR_BUFFER_SIZE);
            return;
        }
    }
}

bool names_brand(const char *model)
{
    for (const char *brand : MODEL_BRANDS) {
        if (contains(model, brand))
            return true;
    }
    return false;
}

void trim_end(char *text)
{
    size_t length = strlen(text);
    while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '\t'))
        text[--length] = '\0';
}

void drop_series_suffix(char *text)
{
    const size_t length = strlen(text);
    const size_t suffix = strlen(SERIES_SUFFIX);
    if (length > suffix && strcmp(text + length - suffix, SERIES_SUFFIX) == 0)
        text[length - suffix] = '\0';
}

} // namespace

int classify_discovery_value(const char *value)
{
    return contains(value, "PRINTER") ? CLASS_PRINTER : CLASS_OTHER;
}

int parse_mfg_mdl(char *model, char *vendor, const char *value)
{
    extract_key_value(value, MANUFACTURER_KEY, vendor, VENDOR_SIZE);
    model[0] = '\0';
    if (!contains(value, MANUFACTURER_KEY))
        return 0;
    extract_key_value(value, MODEL_KEY, model, DSC_SIZE);
    return 1;
}

void extract_key_value(const char *text, const char *key, char *output, size_t size)
{
    output[0] = '\0';
    const char *found = strcasestr(text, key);
    if (found == nullptr)
        return;
    const char *value = found + strlen(key);
    copy_part(output, value, strcspn(value, ";"), size);
}

void strip_quotes(char *text)
{
    const size_t length = strlen(text);
    if (length < 2 || text[0] != '"' || text[length - 1] != '"')
        return;
    memmove(text, text + 1, length - 2);
    text[length - 2] = '\0';
}

void compose_description(char *vendor, char *model, char *output, size_t size)
{
    strip_quotes(model);
    strip_quotes(vendor);
    clean_vendor(vendor);
    if (vendor[0] == '\0')
        infer_vendor(vendor, model);
    if (strcmp(vendor, "MFP") == 0 && contains(model, "Mark 406"))
        safe_strncpy(vendor, "Norta", VENDOR_BUFFER_SIZE);
    if (names_brand(model)) {
        safe_strncpy(output, model, size);
        return;
    }
    safe_strncpy(output, vendor, size);
    append_text(output, " ", size);
    append_text(output, model, size);
    trim_end(output);
    drop_series_suffix(output);
}
