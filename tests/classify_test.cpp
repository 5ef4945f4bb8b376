// The text rules of SNMP answers.
#include "config/text.h"
#include "records/device_list.h"
#include "snmp/classify.h"

#include <gtest/gtest.h>

#include <string>

TEST(Classify, TakesVendorAndModelOfPrinters)
{
    const std::string sixty(60, 'v');
    const struct {
        std::string value;
        int classification;
        int result;
        std::string vendor;
        std::string model;
    } cases[] = {
        {"MFG:Taliven;CMD:PCL;MDL:QD-X7 Series;CLS:PRINTER;", 2, 1, "Taliven", "QD-X7 Series"},
        {"mdl:Model 5;Mfg:Acme;cls:printer", 2, 1, "Acme", "Model 5"},
        {"CLS:PRINTER;MDL:x;", 2, 0, "", ""},
        {"MFG:Acme;MDL:x;", 99, 1, "Acme", "x"},
        {"PRINTER MFG:" + sixty, 2, 1, sixty.substr(0, 31), ""},
        {"PRINTERMFG:;MDL:", 2, 1, "", ""},
        {"PRINTER MFG:a MDL:" + sixty + sixty, 2, 1, "a MDL:" + sixty.substr(0, 25),
         (sixty + sixty).substr(0, 95)},
        {"", 99, 0, "", ""},
    };
    for (const auto &c : cases) {
        char model[DSC_SIZE] = "old";
        char vendor[VENDOR_SIZE] = "old";
        EXPECT_EQ(classify_discovery_value(c.value.c_str()), c.classification) << c.value;
        EXPECT_EQ(parse_mfg_mdl(model, vendor, c.value.c_str()), c.result) << c.value;
        EXPECT_EQ(vendor, c.vendor) << c.value;
        EXPECT_EQ(model, c.model) << c.value;
    }
}

TEST(Classify, ComposesDescriptions)
{
    const struct {
        std::string vendor;
        std::string model;
        std::string description;
    } cases[] = {
        {"Taliven Electronics", "QD-X7 Series", "Taliven QD-X7"},
        {"Orvel Ltd", "5", "Orvel 5"},
        {"Pemberk AG", "5", "Pemberk 5"},
        {"Quilla Inc", "5", "Quilla 5"},
        {"TALIVEN CO. LTD", "X7", "TALIVEN X7"},
        {"\"Taliven\"", "\"X7\"", "Taliven X7"},
        {"\"Taliven", "X7\"", "\"Taliven X7\""},
        {"ramo gmbh", "5", "ramo 5"},
        {"", "PNE-X1", "Taliven PNE-X1"},
        {"", "the vra-2", "Taliven the vra-2"},
        {"", "DWO-4702d", "Taliven DWO-4702d"},
        {"", "QD-4702d", "Taliven QD-4702d"},
        {"", "4702D mfp", "RAMO 4702D mfp"},
        {"x ff ff ff ff", "Brightmoor X2", "Orvel Brightmoor X2"},
        {"MFP", "Mark 406 Copier", "Norta Mark 406 Copier"},
        {"mfp", "Mark 406", "mfp Mark 406"},
        {"Acme", "Taliven QD-X7 Series", "Taliven QD-X7 Series"},
        {"Acme", "the marlowe 3", "the marlowe 3"},
        {"Acme", "Norta 3", "Norta 3"},
        {"Dealer Taliven", "X7", "Dealer Taliven X7"},
        {"", "Unknown 3", " Unknown 3"},
        {"", "", ""},
        {"Acme", " \t", "Acme"},
        {"Acme", "X7 Series ", "Acme X7"},
        {"Acme", "X7 series", "Acme X7 series"},
        {"", "Series", " Series"},
        {"", "aSeries", " aSeries"},
        {"\"", "\"\"", "\""},
        {"Acme", std::string(255, 'm'), "Acme " + std::string(90, 'm')},
        {"Acme", "Norta " + std::string(200, 'm'), "Norta " + std::string(89, 'm')},
        {"Acme", "QD-5", "Acme QD-5"},
    };
    for (const auto &c : cases) {
        char vendor[256];
        char model[256];
        safe_strncpy(vendor, c.vendor.c_str(), sizeof vendor);
        safe_strncpy(model, c.model.c_str(), sizeof model);
        char description[DSC_SIZE];
        compose_description(vendor, model, description, sizeof description);
        EXPECT_EQ(description, c.description) << c.vendor << "|" << c.model;
    }
}
