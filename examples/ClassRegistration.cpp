// Registers classes and makes objects of them by name, as a host does with the classes of packages that it
// knows nothing about.
//
//     example_ClassRegistration           lists the shapes
//     example_ClassRegistration Disk 2    makes a Disk and measures it

#include <zblib/types/ZbTypeInfo.h>
#include <zblib/types/ZbTypedObject.h>

#include <cstdlib>
#include <iostream>
#include <memory>

// ---- What the host knows: Shape.h and Shape.cpp

class Shape : public ZbTypedObject
{
    ZB_TYPED_ABSTRACT(Shape)
public:
    virtual double area(double size) const = 0;
};
void zbInitClass_Shape();
void zbExitClass_Shape();

ZB_TYPED_ABSTRACT_SOURCE(Shape, ZbTypedObject)

// ---- What a package brings along: Square.h, Square.cpp and so on

class Square : public Shape
{
    ZB_TYPED_OBJECT(Square)
public:
    double area(double size) const override { return size * size; }
};
void zbInitClass_Square();
void zbExitClass_Square();

class Disk : public Shape
{
    ZB_TYPED_OBJECT(Disk)
public:
    double area(double size) const override { return 3.14159265358979 * size * size; }
};
void zbInitClass_Disk();
void zbExitClass_Disk();

ZB_TYPED_SOURCE(Square, Shape)
ZB_TYPED_SOURCE(Disk, Shape)

// ---- The host

namespace
{

void listShapes()
{
    for (const ZbTypeInfo* type : ZbTypeInfo::allTypes()) {
        if (type->canCreateInstance() && type->isOfType(Shape::getClassTypeId()))
            std::cout << type->getName() << '\n';
    }
}

int measure(const char* name, double size)
{
    const ZbTypeInfo* type = ZbTypeInfo::getTypeFromName(name);
    if (!type || !type->canCreateInstance() || !type->isOfType(Shape::getClassTypeId())) {
        std::cerr << name << " is no shape that can be made\n";
        return 1;
    }
    // isOfType() has made sure of the class, so no dynamic_cast is needed.
    const std::unique_ptr<Shape> shape(static_cast<Shape*>(type->createInstance()));
    std::cout << shape->getTypeId()->getName() << " of size " << size << ": area " << shape->area(size)
              << '\n';
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    // A package does this when it is loaded; parents register by themselves.
    zbInitClass_Square();
    zbInitClass_Disk();

    int status = 0;
    if (argc == 3)
        status = measure(argv[1], std::atof(argv[2]));
    else
        listShapes();

    // And this when it is unloaded: from now on nobody finds the classes any more.
    zbExitClass_Disk();
    zbExitClass_Square();
    zbExitClass_Shape();
    return status;
}
