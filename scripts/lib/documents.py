"""Reads the documents: their headings, links, names, and blocks of commands and listings."""
import re

# What takes minutes, or runs elsewhere, is not run when a guide is followed.
LONG_COMMANDS = ('scripts/bench', 'scripts/test', 'scripts/test-cross', 'tests/web/servers')


def is_long_command(line):
    return line.split(' ')[0] in LONG_COMMANDS


class Block:
    def __init__(self, language, line, before):
        self.language = language
        self.line = line      # of the document, where the block begins
        self.before = before  # the paragraph in front of it
        self.text = ''

    @property
    def saved_as(self):
        """What the reader is told to save it as."""
        match = re.search(r'[Ss]ave (?:it|this) as `([\w.-]+)`:$', self.before)
        return match and match.group(1)


class Document:
    def __init__(self, name, text):
        self.name = name
        self.blocks = []
        self.headings = []
        self.prose = ''  # all but the blocks
        self._read(text.splitlines())

    def _read(self, lines):
        block = None
        paragraph = []
        for number, line in enumerate(lines, 1):
            if line.lstrip().startswith('```'):
                if block is None:
                    indent = len(line) - len(line.lstrip())  # of a block in a list
                    block = Block(line[indent + 3:].strip(), number, ' '.join(paragraph).strip())
                    self.blocks.append(block)
                else:
                    block = None
                    paragraph = []
                continue
            if block is not None:
                block.text += line[indent:] + '\n'
                continue
            self.prose += line + '\n'
            if line.startswith('#'):
                self.headings.append(line.lstrip('#').strip())
                paragraph = []
            elif line == '' and paragraph and paragraph[-1] == '':
                paragraph = []
            elif line == '':
                paragraph.append('')
            else:
                if paragraph and paragraph[-1] == '':
                    paragraph = []
                paragraph.append(line)

    @property
    def anchors(self):
        """Headings in the form that a link to them has."""
        return {re.sub(r'[^\w -]', '', heading.lower()).replace(' ', '-')
                for heading in self.headings}

    @property
    def links(self):
        return re.findall(r'\]\(([^)]+)\)', self.prose)

    @property
    def names(self):
        """Everything in grave accents."""
        return re.findall(r'`([^`\n]+)`', self.prose)
