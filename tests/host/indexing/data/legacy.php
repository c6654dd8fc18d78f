<h1><?= $title ?></h1>
<?php
// Where it is.
define('ROOT', __DIR__);
run('now');
namespace\f();
function show($title) { ?>
  <p>Shown</p>
<?php }
class Page { var $x; function render() {} function broken( { }
