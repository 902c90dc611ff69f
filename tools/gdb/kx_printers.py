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
    """The bytes of no more than `limit` units of a std::basic_string, and whether there are more."""
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

    def __init__(self, holder):
        self.holder = holder  # null in a value that was moved from

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


class ArrayPrinter(ContainerPrinter):
    """A std::vector<Value>, given the pointer to it."""

    EMPTY = '[]'

    def bounds(self):
        """Pointers to the first element and behind the last."""
        fields = self.holder['_M_impl']
        begin, end = fields['_M_start'], fields['_M_finish']
        if not int(begin) <= int(end) <= int(fields['_M_end_of_storage']):
            raise gdb.error('damaged array')
        return begin, end

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


class ObjectPrinter(ContainerPrinter):
    """A std::map<std::string, Value>, given the pointer to it and the types of key and value."""

    EMPTY = '{}'

    def __init__(self, holder, key_type, value_type):
        super().__init__(holder)
        self.key_type = key_type
        self.value_type = value_type

    def tree(self):
        """The root of the fields of the red-black tree."""
        return self.holder['_M_t']['_M_impl']

    def is_empty(self):
        """Whether there are no members."""
        return int(self.tree()['_M_node_count']) == 0

    @staticmethod
    def next_node(node):
        """The node with the next key."""
        if node['_M_right']:
            node = node['_M_right']
            for _ in range(MAX_TREE_DEPTH):
                if not node['_M_left']:
                    return node
                node = node['_M_left']
        else:
            for _ in range(MAX_TREE_DEPTH):
                parent = node['_M_parent']
                if parent['_M_right'] != node:
                    return parent
                node = parent
        raise gdb.error('damaged object')

    def member(self, node):
        """Key and value, which lie behind the links of the node."""
        key = (node + 1).cast(self.key_type.pointer())
        value = (key + 1).cast(self.value_type.pointer())
        return utf8_text(key.dereference()), readable(value)

    def contents(self):
        """Keys and values by turns."""
        count = int(self.tree()['_M_node_count'])
        node = self.tree()['_M_header']['_M_left']
        for index in range(count):
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
        if tag == MEMBERS.index('vector'):
            return ArrayPrinter(content['vector'])
        if tag == MEMBERS.index('map'):
            value_type = gdb.types.get_basic_type(value.type)
            return ObjectPrinter(content['map'], content['string'].type, value_type)
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
