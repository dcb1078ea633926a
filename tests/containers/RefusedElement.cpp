// Must not compile: an element that points into itself may not be moved by its bytes.
#include <zblib/containers/ZbDArray.h>

#include <string>

int main()
{
    ZbDArray<std::string> array;
}
