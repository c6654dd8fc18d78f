// Copyright nobody. All rights reserved.

//! Keeps what is open.

use std::fmt;

/// How many are open at once.
pub const MOST_OPEN: usize = 1 << 4;
static COUNT: AtomicUsize = AtomicUsize::new(0);
pub type Result<T> = std::result::Result<T, Error>;

/// What went wrong.
#[derive(Debug, Clone)]
// between
#[non_exhaustive]
pub enum Error {
    Io(std::io::Error),
    Full { most: usize },
}

/**
 * A pool
 * of things.
 */
#[derive(Default)]
pub struct Pool<'a, T: Clone = u8>
where
    T: 'a,
{
    items: Vec<&'a T>,
}
struct Id(pub u32);
struct Unit;
pub union Bits { f: f32, u: u32 }

pub trait Keep<T>: Send + Sync {
    /// The most.
    const MOST: usize;
    type Item;
    /// Takes one.
    fn take(&mut self, key: &str) -> Option<T>;
    fn both(&self) -> (T, T) where T: Copy { fn no() {} loop {} }
}

impl<'a, T: Clone> Pool<'a, T> {
    const EMPTY: Self = Pool { items: Vec::new() };
    /// Makes one.
    ///
    /// More.
    #[must_use]
    pub async fn open(path: impl AsRef<Path>, limit: usize) -> Result<Self> {
        const LOCAL: u8 = 1;
        struct Inside;
        todo!()
    }
    pub(crate) unsafe extern "C" fn raw<const N: usize>(self: Box<Self>) -> [T; N] { loop {} }
}

impl<T> Keep<T> for Pool<'_, T> {
    type Item = T;
    fn take(&mut self, key: &str) -> Option<T> { None }
}
impl<'a> From<&'a mut Pool<'static, u8>> for &'a Error {
    fn from(pool: &'a mut Pool<'static, u8>) -> Self { todo!() }
}
impl<T> Keep<T> for &mut super::shared::Lent<'_, T> {
    fn both(&self) -> (T, T) { todo!() }
}
impl<T> dyn Keep<T> + Send {
    pub fn is_kept(&self) -> bool { true }
}
impl Keep<u8> for *const Unit { fn take(&mut self, key: &str) -> Option<u8> { None } }
impl<T> Keep<T> for [Id; 2] { fn first(&self) -> Id { todo!() } }
impl fmt::Display for Error {
    fn fmt(&self, f: &mut fmt::Formatter<'_>) -> fmt::Result { Ok(()) }
}

/// Opens it quickly.
#[macro_export]
macro_rules! open {
    ($path:expr) => { Pool::open($path, 1) };
}

mod deep {
    pub mod er {
        pub fn reach<F>(mut go: F) -> impl Iterator<Item = u8> + 'static
        where
            F: FnMut(u8) -> bool,
        {
            std::iter::empty()
        }
    }
}

#[cfg(test)]
mod tests {
    #[test]
    fn works() {}
}
