"""How gdb shows the values of libkxinstall_product_impl.

foundation::json::Value:
    undefined, null, true, "text"    as in JSON
    1.0, 0.5f, -7, 7u                double, float, long long, unsigned long long
    {true, 2.5}, {["key"] = null}    arrays and objects; [] and {} where they are empty
fl::ustring, which is std::u16string:
    u"text"                          escaped as in JSON; half a surrogate pair is \\ud800

What cannot be read, or is damaged, is shown in angle brackets.

With an installed library gdb loads this file by itself. By hand:

    (gdb) source kx_printers.py

Then the printers of the standard library, where gdb has loaded them, go first for fl::ustring.
"""

import struct

import gdb
import gdb.printing
import gdb.types

# The names of the alternatives in Value::Content; a tag is an index here.
MEMBERS = ('undefined', 'null', 'boolean', 'number', 'string', 'vector', 'map',
           'single', 'signed_integer', 'unsigned_integer')

# Bounds what is read of one text where gdb sets no limit: nobody reads more of it, and a damaged
# string can claim any length.
MAX_TEXT_LENGTH = 1 << 20

# A tree of 2^64 nodes is no deeper; a damaged one may go in circles.
MAX_TREE_DEPTH = 128

ESCAPES = {'"': '\\"', '\\': '\\\\', '\b': '\\b', '\f': '\\f',
           '\n': '\\n', '\r': '\\r', '\t': '\\t'}


def bracketed(error):
    """What to show in the place of a value that cannot be read, in gdb's own form."""
    return f'<error: {error}>'


def text_limit():
    """How many characters of a text are shown."""
    if hasattr(gdb, 'print_options'):
        limit = gdb.print_options()['max_elements']
    else:  # before gdb 13; options of the command itself do not count
        limit = gdb.parameter('print elements')
    return min(limit or MAX_TEXT_LENGTH, MAX_TEXT_LENGTH)


def can_be_printed(character):
    """Whether the character is shown as it is. A terminal would act upon some, and gdb raises at
    one that its character sets do not have."""
    if not character.isprintable():
        return False
    try:
        character.encode(gdb.target_charset())
        character.encode(gdb.host_charset())
    except (LookupError, UnicodeError):
        return False
    return True


def escaped(character):
    """The character as it stands in JSON text."""
    code = ord(character)
    if character in ESCAPES:
        return ESCAPES[character]
    if can_be_printed(character):
        return character
    if code > 0xffff:
        code -= 0x10000
        return f'\\u{0xd800 + (code >> 10):04x}\\u{0xdc00 + (code & 0x3ff):04x}'
    return f'\\u{code:04x}'


def escaped_from_utf8(character):
    """The same, or \\xNN for a byte that is no UTF-8: surrogateescape makes U+DCNN of it."""
    code = ord(character)
    if 0xdc80 <= code <= 0xdcff:
        return f'\\x{code - 0xdc00:02x}'
    return escaped(character)


def quoted(text, limit, has_more, escape):
    """The text in quotes, cut off as gdb cuts its own texts off."""
    dots = '...' if has_more or len(text) > limit else ''
    return f'"{"".join(map(escape, text[:limit]))}"{dots}'


# What a std::basic_string holds in itself, without taking memory.
LOCAL_BUFFER_SIZE = 16


def units(string, unit_size, limit):
    """The bytes of at most `limit` units of a std::basic_string, and whether there are more."""
    data = int(string['_M_dataplus']['_M_p'])
    length = int(string['_M_string_length'])
    # The capacity lies in the place of the local buffer, and counts where that is too small.
    is_long = length >= LOCAL_BUFFER_SIZE // unit_size
    if data == 0 or (is_long and length > int(string['_M_allocated_capacity'])):
        raise gdb.error('damaged string')
    count = min(length, limit)
    if count == 0:
        return b'', False
    return bytes(gdb.selected_inferior().read_memory(data, count * unit_size)), count < length


def utf8_text(string):
    """A std::string in quotes."""
    limit = text_limit()
    # A character that the end of the bytes cuts in two is beyond the limit.
    memory, has_more = units(string, 1, 4 * limit)
    text = memory.decode('utf-8', 'surrogateescape')
    return quoted(text, limit, has_more, escaped_from_utf8)


def utf16_text(string):
    """A std::u16string in quotes."""
    limit = text_limit()
    memory, has_more = units(string, 2, 2 * limit)
    is_little = int(gdb.Value(b'\1\0', gdb.lookup_type('char16_t'))) == 1
    text = memory.decode('utf-16-le' if is_little else 'utf-16-be', 'surrogatepass')
    return 'u' + quoted(text, limit, has_more, escaped)


def float_text(number):
    """The shortest text that reads back as the same float."""
    for digits in range(1, 9):
        text = f'{number:.{digits}g}'
        if struct.pack('f', float(text)) == struct.pack('f', number):
            return text
    return f'{number:.9g}'


class TextPrinter:
    """A value that is shown as one text."""

    def __init__(self, value, text_of):
        self.value = value
        self.text_of = text_of

    def to_string(self):
        """The text."""
        try:
            return self.text_of(self.value)
        except gdb.error as error:
            return bracketed(error)


def readable(pointer):
    """What the pointer points to. gdb reads it on demand, and would drop the whole output if that
    failed later."""
    value = pointer.dereference()
    value.fetch_lazy()
    return value


class ContainerPrinter:
    """An array or object. Its children say all, unless there are none."""

    def __init__(self, holder, key_type, value_type):
        self.holder = holder  # null in a value that was moved from
        self.key_type = key_type
        self.value_type = value_type

    def to_string(self):
        """What there is to say in the place of children, or None."""
        try:
            return self.EMPTY if not self.holder or self.is_empty() else None
        except gdb.error as error:
            return bracketed(error)

    def children(self):
        """One at a time, as gdb stops asking after the first few hundred. What cannot be reached
        ends them, and is shown as what went wrong."""
        if self.to_string() is not None:
            return
        try:
            yield from self.contents()
        except gdb.error as error:
            if self.display_hint() == 'map':
                yield 'key', '...'
            yield 'error', bracketed(error)


def words(pointer):
    """What the pointer points to, as pointers. A program that only holds values tells no more of
    the standard containers in them than their names."""
    return pointer.cast(gdb.lookup_type('void').pointer().pointer())


class ArrayPrinter(ContainerPrinter):
    """A std::vector<Value>: pointers to the first element, behind the last, and behind the room
    for more."""

    EMPTY = '[]'

    def bounds(self):
        """Pointers to the first element and behind the last."""
        begin, end, end_of_storage = (words(self.holder)[index] for index in range(3))
        if not int(begin) <= int(end) <= int(end_of_storage):
            raise gdb.error('damaged array')
        elements = self.value_type.pointer()
        return begin.cast(elements), end.cast(elements)

    def is_empty(self):
        """Whether there are no elements."""
        begin, end = self.bounds()
        return begin == end

    def contents(self):
        """The elements, each with its index."""
        begin, end = self.bounds()
        for index in range(int(end - begin)):
            yield str(index), readable(begin + index)

    @staticmethod
    def display_hint():
        """Lets gdb leave out the indices."""
        return 'array'


# The words of a node in a red-black tree; key and value lie behind them.
PARENT, LEFT, RIGHT, NODE_SIZE = 1, 2, 3, 4


class ObjectPrinter(ContainerPrinter):
    """A std::map<std::string, Value>: one word of no interest, a node whose left one has the first
    key, and the number of members."""

    EMPTY = '{}'

    def size(self):
        """The number of members."""
        return int(words(self.holder)[1 + NODE_SIZE])

    def is_empty(self):
        """Whether there are no members."""
        return self.size() == 0

    @staticmethod
    def next_node(node):
        """The node with the next key."""
        if node[RIGHT]:
            node = words(node[RIGHT])
            for _ in range(MAX_TREE_DEPTH):
                if not node[LEFT]:
                    return node
                node = words(node[LEFT])
        else:
            for _ in range(MAX_TREE_DEPTH):
                parent = words(node[PARENT])
                if words(parent[RIGHT]) != node:
                    return parent
                node = parent
        raise gdb.error('damaged object')

    def member(self, node):
        """Key and value, which lie behind the links of the node."""
        key = (node + NODE_SIZE).cast(self.key_type.pointer())
        value = (key + 1).cast(self.value_type.pointer())
        return utf8_text(key.dereference()), readable(value)

    def contents(self):
        """Keys and values by turns."""
        node = words(words(self.holder)[1 + LEFT])
        for index in range(self.size()):
            key, value = self.member(node)
            yield f'key {index}', key
            yield f'value {index}', value
            node = self.next_node(node)

    @staticmethod
    def display_hint():
        """Lets gdb join each key and its value."""
        return 'map'


def scalar_text(value):
    """A value that is no container."""
    tag = int(value['tag_'])
    if not 0 <= tag < len(MEMBERS):
        return f'<invalid tag {tag}>'
    name = MEMBERS[tag]
    content = value['content_'][name]
    if name == 'boolean':
        return 'true' if int(content) else 'false'
    if name == 'number':
        return repr(float(content))
    if name == 'string':
        return utf8_text(content)
    if name == 'single':
        return float_text(float(content)) + 'f'
    if name == 'signed_integer':
        return str(int(content))
    if name == 'unsigned_integer':
        return f'{int(content)}u'
    return name


def value_printer(value):
    """The printer for a foundation::json::Value."""
    try:
        tag = int(value['tag_'])
        content = value['content_']
        types = content['string'].type, gdb.types.get_basic_type(value.type)
        if tag == MEMBERS.index('vector'):
            return ArrayPrinter(content['vector'], *types)
        if tag == MEMBERS.index('map'):
            return ObjectPrinter(content['map'], *types)
    except gdb.error:
        pass  # the printer of scalars meets the same error and shows it
    return TextPrinter(value, scalar_text)


def ustring_printer(value):
    """The printer for a fl::ustring."""
    return TextPrinter(value, utf16_text)


def register_printers():
    """With the library that gdb has found this file beside, or for all."""
    printers = gdb.printing.RegexpCollectionPrettyPrinter('kxinstall_product_impl')
    printers.add_printer('Value', '^foundation::json::Value$', value_printer)
    printers.add_printer('ustring', '^std::__cxx11::basic_string<char16_t,', ustring_printer)
    gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)


register_printers()
