#pragma once

#include <string>

// Where the folders the program reads at run time ("Pens", "Lib", "Images")
// are found, in this order:
//   1. the folder named by the environment variable VIMO_RESOURCE_DIR;
//   2. ../share/vimo/resources next to the executable (an installed copy);
//   3. ../resources and ../../resources next to the executable (a build tree);
//   4. the resources/ folder of the source tree the program was built from.
// The first that exists and holds a "Pens" or "Images" folder wins.
class ResourcePaths {
public:
    static std::string resourceDir();
    static std::string pensDir() { return resourceDir() + "/Pens"; }
    static std::string libDir() { return resourceDir() + "/Lib"; }
    static std::string imagesDir() { return resourceDir() + "/Images"; }
    static std::string imagePath(const std::string& fileName) {
        return imagesDir() + "/" + fileName;
    }
};
