#pragma once

#include <QtCore/qtypeinfo.h>

#include <type_traits>

/// Whether an object may be moved in memory by copying its bytes, without a constructor or destructor seeing
/// it. The library's arrays move their elements so.
///
/// True for trivially copyable types and for those that Qt knows as relocatable (Q_DECLARE_TYPEINFO with
/// Q_RELOCATABLE_TYPE). Another type opts in beside its class, where no object of it is known by its address
/// and none points into itself:
///
///     template <>
///     struct ZbIsRelocatable<Record> : std::true_type {
///     };
template <typename T>
struct ZbIsRelocatable : std::bool_constant<std::is_trivially_copyable_v<T> || QTypeInfo<T>::isRelocatable> {
};
