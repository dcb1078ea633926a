#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbTypeInfo.h>

/// The root of all classes with run-time type information.
///
/// A class X takes part by deriving from ZbTypedObject or a class that does, and with two macros:
///
///     // Sphere.h
///     class Sphere : public Shape
///     {
///         ZB_TYPED_OBJECT(Sphere)
///     public:
///         Sphere();
///     };
///     void zbInitClass_Sphere();
///     void zbExitClass_Sphere();
///
///     // Sphere.cpp
///     ZB_TYPED_SOURCE(Sphere, Shape)
///
/// From the first call of Sphere::getClassTypeId() on, which zbInitClass_Sphere() makes, and until
/// zbExitClass_Sphere(), ZbTypeInfo::getTypeFromName("Sphere")->createInstance() makes a Sphere. The macros
/// give it these members:
///
/// - static const ZbTypeInfo* getClassTypeId(): the record of X, made on the first call after the parent's;
/// - const ZbTypeInfo* getTypeId() const: the record of the object's class;
/// - static X* createInstance() and static ZbTypedObject* createInstanceZbTypedObject(): a new X from its
///   default constructor, which the caller owns (not in abstract classes);
/// - void deleteInstance() and static void deleteInstance(X*): delete the object; the static form takes null;
/// - static void initClass() and static void exitClass(): register the class and take it out again. A class
///   that was taken out stays out: its record exists and is made only once.
///
/// Who makes an object owns it. What asks for a class or a record costs a comparison or two and is safe in any
/// thread; what registers a class or takes one out is as safe as ZbTypeInfo, whose registry has no lock.
class ZB_API ZbTypedObject
{
public:
    /// The root record: "ZbTypedObject", without factory and parent.
    static const ZbTypeInfo* getClassTypeId();

    virtual const ZbTypeInfo* getTypeId() const = 0;
    virtual ~ZbTypedObject();

    /// Whether the object is of that class or of one derived from it. False for null.
    bool isOfType(const ZbTypeInfo* type) const { return getTypeId()->isOfType(type); }

protected:
    ZbTypedObject() = default;
    ZbTypedObject(const ZbTypedObject&) = default;
    ZbTypedObject& operator=(const ZbTypedObject&) = default;
};

// Names of classes cannot stand in parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)

/// In the class definition of an abstract class X. Members that follow are public.
#define ZB_TYPED_ABSTRACT(X)                                                                                 \
public:                                                                                                      \
    static const ZbTypeInfo* getClassTypeId();                                                               \
    const ZbTypeInfo* getTypeId() const override;                                                            \
    static void initClass();                                                                                 \
    static void exitClass();                                                                                 \
    void deleteInstance()                                                                                    \
    {                                                                                                        \
        delete this;                                                                                         \
    }                                                                                                        \
    /* A function body comes last: it may be followed by a semicolon or not. */                              \
    static void deleteInstance(X* object)                                                                    \
    {                                                                                                        \
        delete object;                                                                                       \
    }

/// In the class definition of a class X with a default constructor. Members that follow are public.
#define ZB_TYPED_OBJECT(X)                                                                                   \
public:                                                                                                      \
    static X* createInstance();                                                                              \
    static ZbTypedObject* createInstanceZbTypedObject();                                                     \
    ZB_TYPED_ABSTRACT(X)

/// In the source of an abstract class X that derives from Parent. Inside the namespace of X.
#define ZB_TYPED_ABSTRACT_SOURCE(X, Parent) ZB_TYPED_DETAIL_SOURCE(X, Parent, nullptr)

/// In the source of a class X that derives from Parent. Inside the namespace of X.
#define ZB_TYPED_SOURCE(X, Parent)                                                                           \
    ZB_TYPED_DETAIL_SOURCE(X, Parent, &X::createInstanceZbTypedObject)                                       \
    X* X::createInstance()                                                                                   \
    {                                                                                                        \
        return new X;                                                                                        \
    }                                                                                                        \
    ZbTypedObject* X::createInstanceZbTypedObject()                                                          \
    {                                                                                                        \
        /* By way of the parent: X may have further bases with a ZbTypedObject of their own. */              \
        Parent* object = createInstance();                                                                   \
        return object;                                                                                       \
    }

#define ZB_TYPED_DETAIL_SOURCE(X, Parent, createFunc)                                                        \
    const ZbTypeInfo* X::getClassTypeId()                                                                    \
    {                                                                                                        \
        static ZbTypeInfo record(#X, createFunc, Parent::getClassTypeId());                                  \
        return &record;                                                                                      \
    }                                                                                                        \
    const ZbTypeInfo* X::getTypeId() const                                                                   \
    {                                                                                                        \
        return X::getClassTypeId();                                                                          \
    }                                                                                                        \
    void X::initClass()                                                                                      \
    {                                                                                                        \
        X::getClassTypeId();                                                                                 \
    }                                                                                                        \
    void X::exitClass()                                                                                      \
    {                                                                                                        \
        ZbTypeInfo::removeType(#X);                                                                          \
    }                                                                                                        \
    [[maybe_unused]] void zbInitClass_##X()                                                                  \
    {                                                                                                        \
        X::initClass();                                                                                      \
    }                                                                                                        \
    [[maybe_unused]] void zbExitClass_##X()                                                                  \
    {                                                                                                        \
        X::exitClass();                                                                                      \
    }

// NOLINTEND(bugprone-macro-parentheses)
