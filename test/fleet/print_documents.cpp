#include "io/common/src/Output.hpp"
#include "tool/json/document.hpp"
#include "tool/json/print.hpp"

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
            printJson(parseDocument(text), 0);
        }
        catch (const std::exception&)
        {
            tail = " refused";
        }
        io::out::line({mark, tail});
    }
    return io::out::finish(0);
}
