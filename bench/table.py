"""Tables of results, for the terminal or as Markdown."""


class Table:
    """Prints its rows as they come. The first column stands to the left, the others to the right; what is said of a row
    beyond its cells, such as a limit that it misses, comes last."""

    def __init__(self, markdown, columns):
        """`columns` are pairs of heading and width."""
        self.markdown = markdown
        self.widths = [width for _, width in columns]
        headings = [heading for heading, _ in columns]
        if markdown:
            self._print_markdown(headings, "")
            self._print_markdown(["---"] + ["---:"] * (len(columns) - 1), "---")
        else:
            self._print_text(headings, "")

    def row(self, *cells, remark=""):
        if self.markdown:
            self._print_markdown(cells, f"**{remark}**" if remark else "")
        else:
            self._print_text(cells, f"  <-- {remark}" if remark else "")

    def end(self):
        print(flush=True)

    def _print_text(self, cells, remark):
        first, *others = zip(cells, self.widths)
        text = f"{first[0]:{first[1]}}" + "".join(f"{cell:>{width}}" for cell, width in others)
        print(f"{text}{remark}".rstrip(), flush=True)

    @staticmethod
    def _print_markdown(cells, remark):
        print("|", " | ".join(str(cell).replace("|", "\\|") for cell in (*cells, remark)), "|", flush=True)


def milliseconds(seconds):
    return f"{seconds * 1000:,.1f} ms"
