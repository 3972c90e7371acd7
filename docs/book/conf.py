"""How Sphinx makes the book of the documents that build_book.py has laid out."""

import os

project = "zerovaapi"
author = "the authors of zerovaapi"
copyright = author  # noqa: A001 (Sphinx asks for this name)
version = release = os.environ["ZEROVA_VERSION"]

extensions = ["myst_parser"]
myst_heading_anchors = 4
source_suffix = {".md": "markdown"}
root_doc = "index"
exclude_patterns = ["include", "examples"]
highlight_language = "none"
nitpicky = True

html_theme = "furo"
html_title = f"zerovaapi {release}"
html_static_path = ["static"]
html_css_files = ["book.css"]
html_copy_source = False
html_show_sphinx = False
html_theme_options = {
   "light_css_variables": {"color-brand-primary": "#0f609b", "color-brand-content": "#0f609b"},
   "dark_css_variables": {"color-brand-primary": "#84c5f4", "color-brand-content": "#84c5f4"},
}
