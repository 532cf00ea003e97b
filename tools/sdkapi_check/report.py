"""What the check found: as a table, JUnit XML, and a page of HTML."""
from __future__ import annotations

import html
import re
from dataclasses import dataclass, field
from xml.etree import ElementTree

from .wire import Exchange

MUST, SHOULD = "must", "should"
PASSED, FAILED, NOT_OFFERED, NOT_TESTED = "passed", "failed", "not offered", "not tested"
_SHOWN = 1500


@dataclass
class Result:
    """One rule at one route."""

    area: str
    subject: str
    rule: str
    level: str
    state: str
    detail: str = ""
    exchange: Exchange | None = None


@dataclass
class Report:
    """All results of a run."""

    url: str
    secrets: set[str] = field(default_factory=set)
    results: list[Result] = field(default_factory=list)
    area: str = ""

    def must(self, subject: str, rule: str, fault: str, exchange: Exchange | None = None) -> bool:
        """A rule that every device keeps; an empty fault passes."""
        return self._add(subject, rule, MUST, fault, exchange)

    def should(self, subject: str, rule: str, fault: str, exchange: Exchange | None = None) -> bool:
        """A rule that a good device keeps."""
        return self._add(subject, rule, SHOULD, fault, exchange)

    def not_offered(self, subject: str, detail: str) -> None:
        self.results.append(Result(self.area, subject, "offered", MUST, NOT_OFFERED, detail))

    def not_tested(self, subject: str, detail: str) -> None:
        self.results.append(Result(self.area, subject, "tested", MUST, NOT_TESTED, detail))

    def _add(self, subject: str, rule: str, level: str, fault: str, exchange: Exchange | None) -> bool:
        self.results.append(Result(self.area, subject, rule, level, FAILED if fault else PASSED, fault, exchange if fault else None))
        return not fault

    def failed(self, level: str | None = None) -> list[Result]:
        return [result for result in self.results if result.state == FAILED and level in (None, result.level)]

    def count(self, state: str) -> int:
        return sum(result.state == state for result in self.results)

    def summary(self) -> str:
        return (f"{self.count(PASSED)} rules kept, {len(self.failed(MUST))} musts and {len(self.failed(SHOULD))} shoulds broken, "
                f"{self.count(NOT_OFFERED)} not offered, {self.count(NOT_TESTED)} not tested")

    def clean(self, text: str) -> str:
        """Without the tokens and passwords of the run."""
        for secret in sorted(self.secrets - {""}, key=len, reverse=True):
            text = text.replace(secret, "***")
        return text

    def shown(self, data: bytes) -> str:
        """Bytes as people read them, one line of the wire a line."""
        text = self.clean(data.decode("utf-8", "backslashreplace"))
        more = f"\n... {len(text) - _SHOWN} more" if len(text) > _SHOWN else ""
        return re.sub(r"[^\n\x20-\x7e]", lambda found: f"\\x{ord(found.group()):02x}", text[:_SHOWN].replace("\r\n", "\n")) + more

    def values(self) -> dict[str, object]:
        return {"device": self.url, "summary": self.summary(), "results": [
            {"area": r.area, "subject": r.subject, "rule": r.rule, "level": r.level, "state": r.state, "detail": self.clean(r.detail)} for r in self.results]}

    def junit(self) -> str:
        suites = ElementTree.Element("testsuites", name=f"sdkapi check {self.url}")
        for area in dict.fromkeys(result.area for result in self.results):
            inside = [result for result in self.results if result.area == area]
            suite = ElementTree.SubElement(suites, "testsuite", name=area, tests=str(len(inside)),
                                           failures=str(sum(r.state == FAILED for r in inside)),
                                           skipped=str(sum(r.state in (NOT_OFFERED, NOT_TESTED) for r in inside)))
            for result in inside:
                self._case(ElementTree.SubElement(suite, "testcase", classname=f"{area}.{result.level}", name=f"{result.subject}: {result.rule}"), result)
        return ElementTree.tostring(suites, encoding="unicode", xml_declaration=True)

    def _case(self, case: ElementTree.Element, result: Result) -> None:
        detail = re.sub(r"[^\t\n\x20-\x7e\u00a0-\ud7ff]", "?", self.clean(result.detail))
        if result.state == FAILED:
            text = "" if result.exchange is None else f"sent:\n{self.shown(result.exchange.sent)}\n\nreceived:\n{self.shown(result.exchange.received)}"
            ElementTree.SubElement(case, "failure", message=detail, type=result.level).text = text
        elif result.state != PASSED:
            ElementTree.SubElement(case, "skipped", message=f"{result.state}: {detail}")

    def page(self) -> str:
        """One page without anything from elsewhere."""
        found = "".join(map(self._finding, self.failed())) or "<p>Nothing was found.</p>"
        rows = "".join(f'<tr class="{r.state.replace(" ", "-")}"><td>{_e(r.area)}</td><td>{_e(r.subject)}</td><td>{_e(r.rule)}</td><td>{r.level}</td>'
                       f"<td>{r.state}</td><td>{_e(self.clean(r.detail))}</td></tr>" for r in self.results)
        return _PAGE.format(url=_e(self.url), summary=_e(self.summary()), found=found, rows=rows)

    def _finding(self, result: Result) -> str:
        wire = "" if result.exchange is None else (f"<div class=wire><div><b>Request</b><pre>{_e(self.shown(result.exchange.sent))}</pre></div>"
                                                   f"<div><b>Answer</b><pre>{_e(self.shown(result.exchange.received) or '(nothing)')}</pre></div></div>")
        return f"<section class={result.level}><h3>{_e(result.subject)}: {_e(result.rule)}</h3><p>{result.level}: {_e(self.clean(result.detail))}</p>{wire}</section>"


def _e(text: str) -> str:
    return html.escape(text)


_PAGE = """<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width"><title>Check of {url}</title>
<style>body{{font:15px/1.5 system-ui,sans-serif;max-width:75rem;margin:2rem auto;padding:0 1rem;color-scheme:light dark}}table{{border-collapse:collapse;width:100%}}
td,th{{text-align:left;padding:.2rem .6rem;border-bottom:1px solid #8884;vertical-align:top}}section{{border-left:4px solid #d70;padding:.1rem 1rem;margin:1rem 0}}
section.must{{border-color:#c22}}.failed td{{color:#c22}}.not-offered td,.not-tested td{{opacity:.6}}pre{{overflow-x:auto;background:#8882;padding:.5rem;max-height:20rem}}
.wire{{display:grid;grid-template-columns:1fr 1fr;gap:1rem}}.wire div{{min-width:0}}</style></head>
<body><h1>Check of {url}</h1><p>{summary}</p><h2>Findings</h2>{found}
<h2>All rules</h2><table><tr><th>area</th><th>subject</th><th>rule</th><th>level</th><th>state</th><th></th></tr>{rows}</table></body></html>
"""
