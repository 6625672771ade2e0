#include "tool/options.hpp"

#include <unistd.h>

#include <cstdlib>

bool tool::parseOptions(int argc, char* argv[], Options& options)
{
    int option = 0;
    while ((option = getopt(argc, argv, "hvs:a:o:t:r:p:f:")) != -1)
    {
        switch (option)
        {
            case 'v':
                options.verbose = true;
                break;
            case 's':
                options.service = optarg;
                break;
            case 'a':
                options.address =
                    static_cast<uint32_t>(std::strtoul(optarg, nullptr, 16));
                break;
            case 'o':
                options.operation = optarg;
                break;
            case 't':
                options.target = optarg;
                break;
            case 'r':
                options.resourceId =
                    static_cast<int32_t>(std::strtol(optarg, nullptr, 10));
                break;
            case 'p':
                options.params = optarg;
                break;
            case 'f':
                options.file = optarg;
                break;
            default:
                return false;
        }
    }
    return true;
}
