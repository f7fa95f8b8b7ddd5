#!/usr/bin/env python3
"""Makes the search of the API documentation find words in texts: index_words.py HTML_DIRECTORY

Doxygen's own index has names and titles only. This adds the words of each page that stand on few
others, and fails if a link leads nowhere.
"""

import collections
import html
import pathlib
import re
import sys

MOST_PAGES = 12  # a word that stands on more of them helps nobody


def text_of(page):
    body = page[page.index('class="contents"'):]
    return html.unescape(re.sub(r"<[^>]*>|<script.*?</script>", " ", body, flags=re.S))


def main(folder):
    pages = {path: path.read_text(encoding="utf-8") for path in sorted(folder.glob("*.html"))}
    broken = [f"{path.name}: {link}" for path, page in pages.items()
              for link in re.findall(r'<a [^>]*href="([^"#]+)', page)
              if "://" not in link and not (folder / link).exists()]
    if broken:
        sys.exit("links that lead nowhere:\n" + "\n".join(broken))

    found = collections.defaultdict(dict)
    for path, page in pages.items():
        if 'class="contents"' not in page or path.name.endswith("-members.html"):
            continue
        title = re.search(r"<title>libqvcommon: (.*?)</title>", page).group(1)
        for word in re.findall(r"[A-Za-z][A-Za-z0-9]{2,}", text_of(page)):
            found[word.lower()][path.name] = title

    sections = (folder / "search/searchdata.js").read_text(encoding="utf-8")
    letters = re.search(r'0: "(.*?)"', sections).group(1)
    for number, letter in enumerate(letters):
        index = folder / f"search/all_{number:x}.js"
        lines = index.read_text(encoding="utf-8").rstrip().removesuffix("];").rstrip()
        for word, where in sorted(found.items()):
            if word[0] != letter or len(where) > MOST_PAGES or f"['{word}_" in lines:
                continue
            places = ",".join(f"['../{page}',1,'{title}']" for page, title in where.items())
            lines += f",\n  ['{word}_w',['{word}',{places}]]"
        index.write_text(lines + "\n];\n", encoding="utf-8")


main(pathlib.Path(sys.argv[1]))
