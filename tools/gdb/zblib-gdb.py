"""Shows the values of zblib in gdb as what they mean.

gdb loads this file by itself when it loads the library, from a folder that it trusts: the one where the packages put it.
Elsewhere: (gdb) source .../zblib-gdb.py. It reads memory and calls nothing in the program, so core files will do too.
"""

import gdb
import gdb.printing


def template_argument(value, number):
    return value.type.strip_typedefs().unqualified().template_argument(number)


def items(first, count):
    """count elements from a pointer to the first on, with names as gdb counts them."""
    for i in range(count):
        yield "[%d]" % i, (first + i).dereference()


def plural(count, word):
    return "%d %s%s" % (count, word, "" if count == 1 else "s")


def listed(values):
    return "(" + ", ".join(values) + ")"


def type_name(value):
    return str(value.type.strip_typedefs().unqualified())


class Printer:
    def __init__(self, value):
        self.value = value


class ArrayPrinter(Printer):
    """ZbDArray and what is derived from it."""

    def to_string(self):
        return "%s of %s, capacity %d" % (
            type_name(self.value), plural(int(self.value["m_size"]), "element"), int(self.value["m_capacity"]))

    def children(self):
        return items(self.value["m_data"], int(self.value["m_size"]))

    def display_hint(self):
        return "array"


class SmallArrayPrinter(Printer):
    def first(self):
        if int(self.value["m_size"]) > int(template_argument(self.value, 1)):
            return self.value["m_heap"]["elements"]
        return self.value["m_inline"].address.reinterpret_cast(template_argument(self.value, 0).pointer())

    def to_string(self):
        return "%s of %s" % (type_name(self.value), plural(int(self.value["m_size"]), "element"))

    def children(self):
        return items(self.first(), int(self.value["m_size"]))

    def display_hint(self):
        return "array"


class HashTablePrinter(Printer):
    def to_string(self):
        return "%s of %s in %s" % (
            type_name(self.value), plural(int(self.value["m_numEntries"]), "entry").replace("entrys", "entries"),
            plural(int(self.value["m_mask"]) + 1, "bucket"))

    def children(self):
        number = 0
        # Not for ever, should the chains be damaged.
        last = int(self.value["m_numEntries"])
        first = SmallArrayPrinter(self.value["m_buckets"]).first()
        for bucket in range(int(self.value["m_mask"]) + 1):
            item = (first + bucket).dereference()
            while item and number < last:
                yield "key %d" % number, item["key"]
                yield "value %d" % number, item["value"]
                number += 1
                item = item["next"]

    def display_hint(self):
        return "map"


class StringPrinter(Printer):
    def to_string(self):
        value = self.value
        if value["m_streamed"]:  # to a struct that begins with the string whose characters they are
            value = value["m_streamed"].cast(value.type.unqualified().pointer()).dereference()
        chars = value["m_chars"]
        length = int(chars["m_size"]) - 1  # without the zero at the end
        # Empty after a move. Bytes that are not of the charset are shown as escapes.
        return chars["m_data"].string("latin-1", length=length) if length > 0 else ""

    def display_hint(self):
        return "string"


class FilenamePrinter(Printer):
    def to_string(self):
        bytes_ = self.value["m_path"]["d"]
        length = int(bytes_["size"])
        return bytes_["ptr"].string("utf-8", "replace", length) if length > 0 else ""

    def display_hint(self):
        return "string"


class HandlePrinter(Printer):
    def to_string(self):
        pointer = self.value["m_object"]
        if not pointer:
            return "null"
        try:
            return "%s at 0x%x, %s" % (pointer.dynamic_type.target(), int(pointer),
                                       plural(int(pointer["m_refCount"]), "reference"))
        except gdb.error:  # counted elsewhere, or of a type without debug information
            return "%s at 0x%x" % (pointer.type.target(), int(pointer))

    def children(self):
        if self.value["m_object"]:
            yield "object", self.value["m_object"]


# In the order of the codes; the C++ type of an element.
PRIM_TYPES = (("byte", "unsigned char"), ("short", "short"), ("int", "int"), ("float", "float"), ("double", "double"),
              ("complex", None), ("string", None), ("ushort", "unsigned short"), ("uint", "unsigned int"),
              ("sbyte", "signed char"), ("int64", "long"), ("uint64", "unsigned long"))


def prim_type(value):
    code = int(value["m_code"])
    return PRIM_TYPES[code] if 0 <= code < len(PRIM_TYPES) else ("unknown type %d" % code, None)


class PrimTypePrinter(Printer):
    def to_string(self):
        return prim_type(self.value)[0]


class TypedPointerPrinter(Printer):
    def to_string(self):
        name, _ = prim_type(self.value["m_type"])
        return "%s at 0x%x" % (name, int(self.value["m_data"])) if self.value["m_data"] else "%s at null" % name


class TypedElementPrinter(Printer):
    def to_string(self):
        owner = "owned" if self.value["m_owned"] else "viewed"
        return "%s %s, %s" % (plural(int(self.value["m_count"]), "component"), owner, prim_type(self.value["m_type"])[0])

    def children(self):
        element = prim_type(self.value["m_type"])[1]
        if not element or not self.value["m_data"]:
            return iter(())
        return items(self.value["m_data"].cast(gdb.lookup_type(element).pointer()), int(self.value["m_count"]))

    def display_hint(self):
        return "array"


class VectorPrinter(Printer):
    def to_string(self):
        return listed(str(self.value[name]) for name in "xyzw" if any(f.name == name for f in self.value.type.fields()))


class RotationPrinter(Printer):
    def to_string(self):
        return "quaternion " + listed(str(self.value["m_values"][i]) for i in range(4))


class MatrixPrinter(Printer):
    """ZbMat2, ZbMat3 and ZbMat4."""

    def to_string(self):
        rows = self.value["m_rows"]
        count = rows.type.range()[1] + 1
        return listed(listed(str(rows[i][j]) for j in range(count)) for i in range(count))


class DMatrixPrinter(Printer):
    def to_string(self):
        return "%s of %d x %d" % (type_name(self.value), int(self.value["m_numRows"]), int(self.value["m_numCols"]))

    def children(self):
        columns = int(self.value["m_numCols"])
        if columns > 0:
            row = self.value["m_elements"]["m_data"].dereference().type.array(columns - 1).pointer()
            yield from items(self.value["m_elements"]["m_data"].cast(row), int(self.value["m_numRows"]))

    def display_hint(self):
        return "array"


class BitfieldPrinter(Printer):
    """The bits in the order of their indices, from 0 on, as far as gdb prints elements of arrays."""

    def to_string(self):
        count = int(self.value["m_nBits"])
        limit = gdb.parameter("print elements") or count
        shown = min(count, limit)
        words = [int(self.value["m_words"][i]) for i in range((shown + 31) // 32)]
        bits = "".join(str(words[i // 32] >> i % 32 & 1) for i in range(shown))
        return "%s: %s%s" % (plural(count, "bit"), bits, "..." if shown < count else "")


class DimsPrinter(Printer):
    def to_string(self):
        return "%d x %d x %d" % tuple(int(self.value[name]) for name in ("nx", "ny", "nz"))


class RawDataPrinter(Printer):
    """ZbRawData2D and ZbRawData3D."""

    def to_string(self):
        dims = self.value["m_dims"]
        sizes = " x ".join(str(int(dims[i])) for i in range(dims.type.range()[1] + 1))
        return "%s elements of %s, %s at 0x%x" % (
            sizes, plural(int(self.value["m_elementSize"]), "byte"), "owned" if self.value["m_owned"] else "viewed",
            int(self.value["m_data"]))


def build_printers():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("zblib")
    for name, template, printer in (
            ("ZbDArray", True, ArrayPrinter), ("ZbDVector", True, ArrayPrinter), ("ZbSmallArray", True, SmallArrayPrinter),
            ("ZbHashTable", True, HashTablePrinter), ("ZbHandle", True, HandlePrinter), ("ZbVec2", True, VectorPrinter),
            ("ZbVec3", True, VectorPrinter), ("ZbVec4", True, VectorPrinter), ("ZbRot", True, RotationPrinter),
            ("ZbMat2", True, MatrixPrinter), ("ZbMat3", True, MatrixPrinter), ("ZbMat4", True, MatrixPrinter),
            ("ZbDMatrix", True, DMatrixPrinter), ("ZbString", False, StringPrinter),
            ("ZbFilename", False, FilenamePrinter), ("ZbPrimType", False, PrimTypePrinter),
            ("ZbTypedPointer", False, TypedPointerPrinter), ("ZbTypedElement", False, TypedElementPrinter),
            ("ZbBitfield", False, BitfieldPrinter), ("ZbDim3l", False, DimsPrinter),
            ("ZbRawData2D", False, RawDataPrinter), ("ZbRawData3D", False, RawDataPrinter)):
        printers.add_printer(name, "^%s%s$" % (name, "<.*>" if template else ""), printer)
    return printers


# None where it is read by hand: then for all that is debugged.
gdb.printing.register_pretty_printer(gdb.current_objfile(), build_printers(), replace=True)
