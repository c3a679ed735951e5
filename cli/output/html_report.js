// The HTML report's only script: clicking a node cell of the heat map shows
// just the issues on that node; the "Show all issues" button, Escape, or a
// second click on the same cell shows every issue again. Clicking an issue's
// node count marks its nodes on the heat map ("Clear the marks", Escape or
// a second click take the marks away). It reads nothing but the page's own
// attributes: a cell's data-i holds the refs of the issues on its node as
// base-36 differences from the previous ref (the first from 0), an issue's
// element id is "issue-" and its ref.
(function () {
  'use strict';
  var map = document.getElementById('heatmap');
  var list = document.getElementById('issues');
  var bar = document.getElementById('filter');
  var label = document.getElementById('filter-node');
  var count = document.getElementById('filter-count');
  var issues = list.querySelectorAll('.issue');
  var sections = list.querySelectorAll('.section');
  var marks = document.getElementById('marks');
  var selected = null;
  var marked = null;

  // Calls visit(ref) for each ref of the cell's data-i, in order, until it
  // returns true. Decoded by hand: a large page has a million refs or more.
  function eachRef(cell, visit) {
    var text = cell.getAttribute('data-i');
    if (!text) return;
    var ref = 0;
    var step = 0;
    for (var i = 0; i <= text.length; ++i) {
      var c = i < text.length ? text.charCodeAt(i) : 32;
      if (c === 32) {
        ref += step;
        step = 0;
        if (visit(ref)) return;
      } else {
        step = step * 36 + (c <= 57 ? c - 48 : c - 87);
      }
    }
  }

  function refsOf(cell) {
    var refs = new Set();
    eachRef(cell, function (ref) { refs.add(ref); });
    return refs;
  }

  // Whether the cell's node has the issue `ref`; the refs ascend, so the
  // walk stops at the first one that is not below it.
  function hasRef(cell, ref) {
    var found = false;
    eachRef(cell, function (at) {
      found = at === ref;
      return at >= ref;
    });
    return found;
  }

  function mark(issue) {
    var ref = issue ? Number(issue.id.slice(6)) : null;
    map.querySelectorAll('.mark').forEach(function (cell) {
      cell.classList.remove('mark');
    });
    if (ref === null || ref === marked) {
      marked = null;
      map.classList.remove('marking');
      marks.hidden = true;
      return;
    }
    marked = ref;
    var count = 0;
    map.querySelectorAll('.c[data-i]').forEach(function (cell) {
      if (hasRef(cell, ref)) {
        cell.classList.add('mark');
        ++count;
      }
    });
    map.classList.add('marking');
    document.getElementById('marks-count').textContent =
        count === 1 ? '1 node' : count + ' nodes';
    document.getElementById('marks-id').textContent =
        issue.querySelector('.id').textContent;
    marks.hidden = false;
    document.getElementById('nodes').scrollIntoView();
  }

  function showSections() {
    sections.forEach(function (section) {
      section.hidden = !section.querySelector('.issue:not([hidden])');
    });
  }

  function select(cell) {
    if (selected) selected.classList.remove('sel');
    if (!cell || cell === selected) {
      selected = null;
      issues.forEach(function (issue) { issue.hidden = false; });
      sections.forEach(function (section) { section.hidden = false; });
      bar.hidden = true;
      return;
    }
    selected = cell;
    cell.classList.add('sel');
    var refs = refsOf(cell);
    issues.forEach(function (issue) {
      issue.hidden = !refs.has(Number(issue.id.slice(6)));
    });
    showSections();
    label.textContent = cell.getAttribute('data-n');
    count.textContent = refs.size === 1 ? '1 issue' : refs.size + ' issues';
    bar.hidden = false;
  }

  map.addEventListener('click', function (event) {
    var cell = event.target.closest('.c');
    if (cell && map.contains(cell)) select(cell);
  });
  document.getElementById('clear').addEventListener('click', function () {
    select(null);
  });
  document.getElementById('unmark').addEventListener('click', function () {
    mark(null);
  });
  document.addEventListener('keydown', function (event) {
    if (event.key !== 'Escape') return;
    if (selected) select(null);
    if (marked !== null) mark(null);
  });
  // A provenance link to an issue that the filter hides shows every issue
  // first, so the link always lands.
  list.addEventListener('click', function (event) {
    var nodeCount = event.target.closest('button.on');
    if (nodeCount) {
      mark(nodeCount.closest('.issue'));
      return;
    }
    var link = event.target.closest('a[href^="#issue-"]');
    if (!link) return;
    var target = document.getElementById(link.getAttribute('href').slice(1));
    if (target && target.hidden) select(null);
  });
})();
