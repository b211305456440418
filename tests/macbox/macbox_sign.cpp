// macbox_sign PROGRAM IDENTIFIER TEAM INFO_PLIST [SECTION=FILE ...]
//
// Signs a program of the box as "codesign" does one for a Mac: with a Developer ID of TEAM. INFO_PLIST is the property
// list that describes the program; a SECTION's FILE is what a Mac's linker puts into the program.

#include "signature.h"

#include <cstdio>

int main(int count, char *words[]) {
    if (count < 5) {
        std::fputs("usage: macbox_sign PROGRAM IDENTIFIER TEAM INFO_PLIST [SECTION=FILE ...]\n", stderr);
        return 2;
    }
    macbox::Signature signature{{{"anchor", "apple generic"},
                                 {"identifier", words[2]},
                                 {"certificate 1[field.1.2.840.113635.100.6.2.6]", ""},
                                 {"certificate leaf[field.1.2.840.113635.100.6.1.13]", ""},
                                 {"certificate leaf[subject.OU]", words[3]}},
                                {}};
    const std::string info = macbox::contentOf(words[4]);
    for (const char *key : {"CFBundleVersion", "CFBundleShortVersionString"}) {
        signature.facts["info[" + std::string(key) + "]"] = macbox::textIn(info, key).value_or("");
    }
    for (int i = 5; i < count; ++i) {
        const std::string section = words[i];
        const std::size_t end = section.find('=');
        signature.sections[section.substr(0, end)] = macbox::contentOf(section.substr(end + 1));
    }
    return macbox::sign(words[1], signature) ? 0 : 1;
}
