{-# LANGUAGE GADTs, TypeFamilies #-}
-- Copyright nobody.

{- |
The books of a small shop.
-}
module Books.Ledger
  ( Account (..)
  , total
  ) where

import qualified Data.Map as Map

-- | Amounts are whole.
type Cents = Int

-- | One account
-- with its entries.
data Account a = Account
  { name :: String -- ^ of who owns it
  , entries :: [a]
  }
  | Closed
  deriving (Eq, Show)

newtype Wrapper a = Wrapper {unwrap :: a}

data Query a where
  Balance :: Int -> Query Int

-- | What has a balance.
class Holder h where
  type Unit h
  -- | In cents.
  balance :: h -> Cents
  balance _ = 0
  isOpen :: h -> Bool

instance Holder (Account Int) where
  type Unit (Account Int) = Int
  balance account = sum (entries account)
  isOpen Closed = False
  isOpen _ = True

instance Holder [a] where
  isOpen = null

instance (Holder a, Holder b) => Holder (Either a b) where
  isOpen (Left a) = isOpen a
  isOpen (Right b) = isOpen b

type family Element c
type instance Element [e] = e

-- | The sum of all.
total :: (Holder h) => [h] -> Cents
total [] = 0
total (x : xs) = go (balance x) + total xs
  where
    go y = scale y
    scale z = z

untyped a b = a

infixl 6 <+>
(<+>) :: Cents -> Cents -> Cents
a <+> b = a + b

plus, minus :: Cents -> Cents -> Cents
a `minus` b = a - b
plus a b = a + b

-- | The most entries that one page holds.
pageSize :: Int
pageSize = 64

main :: IO ()
main = do
  let inner = 1
  print inner

foreign import ccall "math.h sin" c_sin :: Double -> Double

data a :* b = a :* b

-- | An operator in a type is no function.
both :: Int :* Int -> Int
both (a :* b) = a + b
