# SPDX-License-Identifier: Apache-2.0
"""Builds the site: collects the pages, gives each its place, and runs mkdocs."""
import os
import shutil
import subprocess
import sys

import yaml

import pages

HERE = pages.ROOT / "manual"


def named(entries):
    """The pages that a list of places names."""
    for entry in entries:
        for value in ([entry] if isinstance(entry, str) else entry.values()):
            if isinstance(value, list):
                yield from named(value)
            else:
                yield value


def placed(entries, folder, taken):
    """The list of places with the pages that exist, and those that a FOLDER/* stands for."""
    result = []
    for entry in entries:
        if isinstance(entry, str):
            for path in sorted(folder.glob(entry + ".md")):
                name = str(path.relative_to(folder))
                if name not in taken:
                    result.append({pages.title_of(path): name})
            continue
        (title, value), = entry.items()
        if isinstance(value, list):
            value = placed(value, folder, taken)
        elif not (folder / value).exists():
            print(f"manual: {value} does not exist; its place is left out", file=sys.stderr)
            continue
        if value:
            result.append({title: value})
    return result


def places(folder):
    """The nav of the site."""
    entries = yaml.safe_load((HERE / "nav.yml").read_text(encoding="utf-8"))
    taken = set(named(entries))
    nav = placed(entries, folder, taken)
    lost = {str(path.relative_to(folder)) for path in folder.rglob("*.md")} - set(named(nav))
    if lost:
        raise pages.Problem(f"give a place in manual/nav.yml to: {', '.join(sorted(lost))}")
    return nav


def write_index_for_files(site):
    """Writes the search's index as a script too: pages that were opened as files cannot fetch anything."""
    index = (site / "search" / "search_index.json").read_text(encoding="utf-8")
    (site / "search" / "search_index.js").write_text(f"window.searchIndexOfManual = {index};\n", encoding="utf-8")


def leave_out_what_nothing_loads(site):
    """Removes the maps for the theme's developers and the words of languages that the search does not speak."""
    for path in (site / "assets").rglob("*.map"):
        path.unlink()
    shutil.rmtree(site / "assets" / "javascripts" / "lunr")


def build(output):
    """Builds the site in output/site from the pages in output/pages."""
    settings = {"docs_dir": str(output / "pages"), "site_dir": str(output / "site"), "nav": places(output / "pages")}
    common = (HERE / "mkdocs.yml").read_text(encoding="utf-8").replace("THEME", str(HERE / "theme"))
    configuration = output / "mkdocs.yml"
    configuration.write_text(common + yaml.safe_dump(settings, sort_keys=False), encoding="utf-8")
    run = subprocess.run([sys.executable, "-W", "ignore::DeprecationWarning", "-m", "mkdocs", "build", "--strict",
                          "--config-file", str(configuration)],
                         stderr=subprocess.PIPE, text=True, check=False, env={**os.environ, "PYTHONDONTWRITEBYTECODE": "1"})
    if run.returncode != 0:
        raise pages.Problem("mkdocs: " + "\n".join(line for line in run.stderr.splitlines() if "INFO" not in line))
    write_index_for_files(output / "site")
    leave_out_what_nothing_loads(output / "site")
