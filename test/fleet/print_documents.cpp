// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"
#include "tool/json/print.hpp"
#include "tool/output.hpp"

#include <exception>
#include <iostream>
#include <string>

/** Prints the JSON documents of standard input, one per line, as `show` does.
 *  Behind each stands the line given as first argument; behind one that the
 *  printer refuses, that line with " refused". */
int main(int count, char** words)
{
    const std::string mark = count > 1 ? words[1] : "--";
    std::string text;
    while (std::getline(std::cin, text))
    {
        std::string tail;
        try
        {
            tool::printJson(io::parseJson(text), 0);
        }
        catch (const std::exception&)
        {
            tail = " refused";
        }
        tool::out::line({mark, tail});
    }
    return tool::out::finish(0);
}
