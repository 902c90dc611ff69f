# How gdb shows the values of libkxinstall_product_impl.
#
# foundation::json::Value:
#     undefined, null, true            as in JSON
#     "text"                           with the escapes that gdb uses
#     1.0, 0.5f, -7, 7u                double, float, long long, unsigned long long
#     {true, 2.5}, {["key"] = null}    arrays and objects; [] and {} where they are empty
#     <array>, <object>                the content cannot be shown; see below
# fl::ustring, which is std::u16string:
#     u"text"
#
# Errors are shown in angle brackets. The content of arrays and objects needs debug information on the
# container, and the printers of the standard library, which gdb normally loads together with it.
#
# gdb loads this file with an installed library. By hand:
#
#     (gdb) source kx_printers.py

import gdb.printing

# A damaged string can claim any length.
MAX_TEXT_LENGTH = 1 << 20


class TextPrinter:
    # A text, or a lazy string, of which gdb reads only what it shows.
    def __init__(self, text):
        self.to_string = lambda: text


class ContainerPrinter:
    # The children that the standard library's printer finds, and a text if there are none. The hint lets gdb
    # leave out indices, and join each key and its value.
    def __init__(self, printer, hint, empty):
        self.printer, self.hint, self.empty = printer, hint, empty
        self.display_hint = lambda: hint

    def to_string(self):
        return None if next(self.children(), None) else self.empty

    # Up to the first that cannot be read; that one is replaced by the error.
    def children(self):
        try:
            for name, child in self.printer.children():
                child.fetch_lazy()  # gdb drops the whole output if it fails to read a child later
                yield name, child
        except (gdb.error, ValueError) as error:
            yield 'error', f'<error: {error}>'
            if self.hint == 'map':
                yield 'value', '...'


# A std::basic_string.
def string(value):
    length = min(int(value['_M_string_length']), MAX_TEXT_LENGTH)
    return TextPrinter(value['_M_dataplus']['_M_p'].lazy_string(length=length))


# An array or object. The holder is null in a Value that was moved from.
def container(holder, hint, empty, unknown):
    if not holder:
        return TextPrinter(empty)
    value = holder.dereference()
    printer = gdb.default_visualizer(value) if value.type.fields() else None
    return ContainerPrinter(printer, hint, empty) if printer else TextPrinter(unknown)


# The members of Value::Content in the order of the tags, and how each is shown.
MEMBERS = (
    ('undefined', lambda _: TextPrinter('undefined')),
    ('null', lambda _: TextPrinter('null')),
    ('boolean', lambda content: TextPrinter(str(content))),
    ('number', lambda content: TextPrinter(repr(float(content)))),
    ('string', string),
    ('vector', lambda holder: container(holder, 'array', '[]', '<array>')),
    ('map', lambda holder: container(holder, 'map', '{}', '<object>')),
    ('single', lambda content: TextPrinter(f'{content}f')),
    ('signed_integer', lambda content: TextPrinter(str(content))),
    ('unsigned_integer', lambda content: TextPrinter(f'{content}u')))


def json_value(value):
    tag = int(value['tag_'])
    if not 0 <= tag < len(MEMBERS):
        return TextPrinter(f'<invalid tag {tag}>')
    member, printer = MEMBERS[tag]
    return printer(value['content_'][member])


# The same printer, or one for the error.
def or_error(printer):
    def guarded(value):
        try:
            return printer(value)
        except (gdb.error, OverflowError) as error:
            return TextPrinter(f'<error: {error}>')
    return guarded


printers = gdb.printing.RegexpCollectionPrettyPrinter('kxinstall_product_impl')
printers.add_printer('Value', '^foundation::json::Value$', or_error(json_value))
printers.add_printer('ustring', '^std::__cxx11::basic_string<char16_t,', or_error(string))
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)
